#!/bin/sh
# Unmodified tools on the default bench under `brevant emulate`.
#   emulate.sh BREVANT WORKDIR flashrom|openocd|eeprom PROGRAM|status
set -eu
brevant=$1 work=$2 case=$3
rm -rf "$work" && mkdir -p "$work/state"
cd "$work"
fail() { echo "FAIL: $*"; exit 1; }

case $case in
flashrom)
  # A 4 MiB image of random data onto device 0's W25Q32, then read back in a
  # run of its own: the flash lives on in the state directory.
  programmer=ft2232_spi:type=2232H,port=A
  head -c 4194304 /dev/urandom > image.bin
  "$brevant" emulate --state state -- flashrom -p $programmer -w image.bin > write.log 2>&1 ||
    { cat write.log; fail "flashrom -w"; }
  grep -q 'Found Winbond flash chip "W25Q32' write.log || { cat write.log; fail "no W25Q32"; }
  grep -q "VERIFIED" write.log || { cat write.log; fail "not verified"; }
  "$brevant" emulate --state state -- flashrom -p $programmer -r back.bin > read.log 2>&1 ||
    { cat read.log; fail "flashrom -r"; }
  cmp image.bin back.bin || fail "read back differs"
  ;;
openocd)
  # Device 1's chain: the FPGA nearest TDO, then the ARM debug port.
  cat > bench.cfg <<'CFG'
adapter driver ftdi
ftdi vid_pid 0x0403 0x6010
ftdi channel 1
ftdi layout_init 0x0008 0x000b
transport select jtag
adapter speed 1000
jtag newtap fpga tap -irlen 6 -expected-id 0x0362D093
jtag newtap arm tap -irlen 4 -expected-id 0x4BA00477
CFG
  "$brevant" emulate -- openocd -f bench.cfg -c "init; scan_chain; shutdown" > openocd.log 2>&1 ||
    { cat openocd.log; fail "openocd"; }
  for id in 0x0362d093 0x4ba00477; do
    grep -q "tap/device found: $id" openocd.log || { cat openocd.log; fail "no $id"; }
  done
  if grep -q "Error" openocd.log; then cat openocd.log; fail "openocd reported an error"; fi
  ;;
eeprom)
  serial=$("$brevant" emulate -- "$4") || fail "the EEPROM reader failed"
  [ "$serial" = BV22H001 ] || fail "serial number \"$serial\""
  ;;
status)
  "$brevant" emulate -- sh -c 'exit 7' && fail "status 0" || [ $? -eq 7 ] || fail "not the program's status"
  "$brevant" emulate -- no-such-program-here 2> missing.err && fail "status 0" || [ $? -eq 127 ] ||
    fail "not 127 for a missing program"
  grep -q "no-such-program-here: No such file or directory" missing.err || fail "$(cat missing.err)"
  # With no program it serves until told to stop, after saying what to export.
  "$brevant" emulate > exports.txt 2> serve.err &
  server=$!
  for _ in $(seq 50); do grep -q LD_PRELOAD exports.txt && break; sleep 0.1; done
  grep -q "^export UMOCKDEV_DIR=" exports.txt || fail "no UMOCKDEV_DIR to export"
  . ./exports.txt
  "$brevant" list --driver libftdi | grep -q BV42H003D || fail "the exported devices are not seen"
  kill -TERM $server
  wait $server || fail "the server did not end cleanly"
  ;;
*)
  fail "unknown case $case"
  ;;
esac
echo "emulate $case: ok"

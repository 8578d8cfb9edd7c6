#!/usr/bin/env bash
# The installed udev rule as udev itself applies it, to USB devices emulated
# with umockdev: the parts the library drives are handed to the user at the
# seat, other devices are not, and udev reports nothing wrong in the rule.
#   udev.sh [sudo]   (udevadm test needs root)
set -uo pipefail
devices=$(dirname "$0")/ftdi-parts.umockdev

# A device of the emulation | whether it gets the uaccess tag.
cases=(
  "/sys/devices/usb1/1-1|yes" # FT2232H, 0403:6010
  "/sys/devices/usb1/1-2|yes" # FT230X, 0403:6015
  "/sys/devices/usb1/1-3|no"  # another product under FTDI's vendor ID
)
failed=0
for case in "${cases[@]}"; do
  device=${case%|*}
  output=$("$@" umockdev-run -d "$devices" -- udevadm test "$device" 2>&1)
  grep 'Reading rules file: .*/60-brevant.rules' <<<"$output" > /dev/null ||
    { echo "$device: udev did not read 60-brevant.rules"; failed=1; }
  if grep '60-brevant.rules:[0-9]' <<<"$output"; then failed=1; fi
  tagged=no
  grep -E '^CURRENT_TAGS=.*:uaccess:' <<<"$output" > /dev/null && tagged=yes
  if [[ $tagged != "${case#*|}" ]]; then
    echo "$device: uaccess $tagged, want ${case#*|}"
    failed=1
  fi
done
exit $failed

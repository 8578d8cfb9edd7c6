/* Prints the serial number in the EEPROM of the first FTDI part with product
 * id 0x6010, as libftdi reads and decodes it. */
#include <ftdi.h>
#include <stdio.h>

int main(void) {
  struct ftdi_context* ftdi = ftdi_new();
  char serial[64] = "";
  if (ftdi == NULL) return 1;
  if (ftdi_usb_open(ftdi, 0x0403, 0x6010) < 0 || ftdi_read_eeprom(ftdi) < 0 ||
      ftdi_eeprom_decode(ftdi, 0) < 0 ||
      ftdi_eeprom_get_strings(ftdi, NULL, 0, NULL, 0, serial, sizeof serial) < 0) {
    fprintf(stderr, "eeprom-serial: %s\n", ftdi_get_error_string(ftdi));
    ftdi_free(ftdi);
    return 1;
  }
  printf("%s\n", serial);
  ftdi_free(ftdi);
  return 0;
}

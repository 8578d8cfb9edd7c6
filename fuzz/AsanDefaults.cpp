// AddressSanitizer settings for the fuzz targets. The default quarantine holds
// 256 MB of freed blocks, so each input's allocations land on pages not touched
// for a while and every input pays for page faults; 16 MB still holds many
// inputs' worth of freed memory for catching a late use.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=16";
}

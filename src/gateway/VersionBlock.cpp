// The library's version block. It sits in a section of its own so that a tool
// can read it from the file without loading it (objdump -s -j .brevant_version),
// and Process reads its numbers from here.
#include "brevant/Version.h"
#include "brevant/brevant.h"

// On Windows the same items make the file's version resource instead.
#ifdef __ELF__
#define BREVANT_VERSION_SECTION __attribute__((section(".brevant_version"), used))
#else
#define BREVANT_VERSION_SECTION
#endif

extern "C" {

BREVANT_VERSION_SECTION const brevant_version_block brevant_version{
    .file_version = {brevant::version::kMajor, brevant::version::kMinor, brevant::version::kPatch,
                     brevant::version::kRevision},
    .product_version = {brevant::version::kMajor, brevant::version::kMinor,
                        brevant::version::kPatch, brevant::version::kRevision},
    .language = 0x0409,
    .code_page = 0x04B0,
    .file_version_text = "1.00.0010",
    .product_version_text = "1.00.0010",
    .product_name = "FTDI Device Library",
    .internal_name = "Brevant",
    .original_filename = "Brevant.dll",
    // Present and empty: the mark of a self-registering library.
    .ole_self_register = "",
};
}

/* A plain C client of libbrevant.so: a 245 FIFO channel on the virtual bench,
 * written and read back through late-bound calls, with a log sink. */
#include <stdio.h>
#include <string.h>

#include "brevant/brevant.h"

static int failures = 0;
static int entries = 0;

static void Check(int ok, const char* what) {
  if (!ok) {
    fprintf(stderr, "FAILED: %s (%d %s: %s)\n", what, (int)brevant_error_number(),
            brevant_error_source(), brevant_error_description());
    ++failures;
  }
}

static void Count(void* context, int32_t level, const char* entry) {
  (void)context;
  if (level == 3 && strncmp(entry, "FT_", 3) == 0) ++entries;
}

int main(void) {
  brevant_guid clsid;
  brevant_object fifo = 0, log = 0;
  brevant_log_sink sink = {Count, NULL, NULL};
  brevant_variant args[3];
  const uint8_t hello[] = {'h', 'i'};

  memset(args, 0, sizeof args);
  Check(brevant_guid_parse("{260ADB86-AD2C-440C-8274-399001AA91C8}", &clsid) == 0, "parse");
  Check(brevant_create(&clsid, &fifo) == 0, "create clsFTDI245FIFO");
  Check(brevant_log_create(&sink, &log) == 0, "create sink");
  args[0].type = BREVANT_OBJECT;
  args[0].value.object = log;
  Check(brevant_invoke(fifo, 0x6803000B, BREVANT_PUT, 1, args, NULL) == 0, "Log");
  brevant_release(log);

  args[0].type = BREVANT_I2;
  args[0].value.i2 = 0;
  Check(brevant_invoke(fifo, 0x60030001, BREVANT_METHOD, 1, args, NULL) == 0, "Initialize");
  Check(entries == 4, "four driver calls logged by Initialize");

  brevant_variant_set_array(&args[0], BREVANT_UI1, hello, 2, 0);
  args[1].type = BREVANT_I4;
  args[1].value.i4 = 2;
  Check(brevant_invoke(fifo, 0x60030008, BREVANT_METHOD, 2, args, NULL) == 0, "DataWrite");

  /* DataRead: the buffer and BytesRead come back written. */
  brevant_variant_set_array(&args[0], BREVANT_UI1, "\0\0\0", 3, 0);
  args[2].type = BREVANT_I4;
  args[2].value.i4 = 0;
  Check(brevant_invoke(fifo, 0x60030009, BREVANT_METHOD, 3, args, NULL) == 0, "DataRead");
  Check(args[2].value.i4 == 2, "two bytes read");
  Check(memcmp(args[0].value.array.data, hello, 2) == 0, "the echo");

  Check(brevant_invoke(fifo, 0x6003000A, BREVANT_METHOD, 0, NULL, NULL) == 0, "Terminate");
  Check(brevant_invoke(fifo, 0x60030003, BREVANT_METHOD, 0, NULL, NULL) == (int32_t)0x800417D6,
        "QueueTx after Terminate fails");
  Check(strcmp(brevant_error_source(), "clsFTD2xx") == 0, "error source");
  Check(strcmp(brevant_error_description(), "Device not opened") == 0, "error description");

  brevant_variant_clear(&args[0]);
  Check(brevant_release(fifo) == 0, "release");
  Check(brevant_release(fifo) == BREVANT_E_DISCONNECTED, "second release refused");
  Check(DllCanUnloadNow() == 0, "unload allowed");
  return failures == 0 ? 0 : 1;
}

/* Calls the capture library from a program of another compiler: built for the MSVC ABI, without a C
 * library, linked through the import library that the build makes. Exits with the line of the first
 * check that fails, modulo 255, plus 1; with 0 if none does. The argument is an image file. */
#include "velmora_capture/c/velmora_capture.h"

__declspec(dllimport) __declspec(noreturn) void __stdcall ExitProcess(unsigned code);
__declspec(dllimport) char* __stdcall GetCommandLineA(void);
__declspec(dllimport) void __stdcall Sleep(unsigned milliseconds);

#define CHECK(condition) \
  if (!(condition)) ExitProcess(__LINE__ % 255 + 1)

/* The compiler calls these where it initialises structures. */
void* memset(void* to, int value, size_t count) {
  volatile char* bytes = to;
  while (count-- > 0) bytes[count] = (char)value;
  return to;
}

static int IsSame(const char* a, const char* b) {
  while (*a != 0 && *a == *b) ++a, ++b;
  return *a == *b;
}

/* The file is the last argument; it is not quoted. */
static const char* FileArgument(void) {
  const char* line = GetCommandLineA();
  const char* last = line;
  for (; *line != 0; ++line) {
    if (*line == ' ' && line[1] != 0 && line[1] != ' ') last = line + 1;
  }
  return last;
}

static volatile int released;
static volatile int delivered;

static void VELMORA_C_CALL Release(void* user) {
  *(volatile int*)user += 1;
}

static void VELMORA_C_CALL Deliver(void* user, velmora_result* result) {
  velmora_result_info info = {.size = sizeof info};
  CHECK(velmora_result_get_info(result, &info) == 0);
  CHECK(info.width == 40 && info.height == 30);
  CHECK(info.error_code == 0 && info.path == NULL);
  *(volatile int*)user += 1;
}

static void CheckFile(velmora_capture* capture) {
  velmora_result* result;
  velmora_result_info info = {.size = sizeof info};
  int found = 0;
  CHECK(velmora_capture_read_file(capture, FileArgument(), &result) == 0);
  for (int32_t i = 0; i < velmora_result_code_count(result); ++i) {
    velmora_code code = {.size = sizeof code};
    CHECK(velmora_result_get_code(result, i, &code) == 0);
    if (IsSame(code.symbology, "EAN-13") && IsSame(code.text, "4012345678901")) ++found;
    CHECK(code.text_length > 0 && code.text[code.text_length] == 0);
    CHECK(code.corners[0] > 0 && code.corners[7] > 0);
    CHECK(code.task[0] != 0);
  }
  CHECK(found == 1);
  CHECK(velmora_result_get_info(result, &info) == 0);
  CHECK(info.width == 820 && info.height == 540);
  CHECK(info.job_number == 0);
  CHECK(info.read_ns > 0 && info.total_ns > info.convert_ns);
  CHECK(IsSame(info.path, FileArgument()));
  velmora_result_release(result);
}

static void CheckPixels(velmora_capture* capture) {
  static unsigned char pixels[40 * 30];
  velmora_image image = {.size = sizeof image,
                         .format = VELMORA_PIXELS_GREY8,
                         .width = 40,
                         .height = 30,
                         .pixels = pixels,
                         .length = sizeof pixels};
  velmora_statistics* statistics;
  velmora_image_counts counts = {.size = sizeof counts};
  CHECK(velmora_capture_submit(capture, &image, Release, (void*)&released, Deliver,
                               (void*)&delivered, 1000) == 0);
  for (int i = 0; i < 1000 && delivered == 0; ++i) Sleep(10);
  CHECK(delivered == 1);
  image.length -= 1;
  CHECK(velmora_capture_submit(capture, &image, Release, (void*)&released, Deliver,
                               (void*)&delivered, 0) == -10069);
  CHECK(velmora_capture_get_statistics(capture, &statistics) == 0);
  CHECK(velmora_statistics_get_images(statistics, &counts) == 0);
  CHECK(counts.offered == 2 && counts.refused == 0);
  velmora_statistics_release(statistics);
}

void Start(void) {
  velmora_capture* capture;
  velmora_capture_options options = {.size = sizeof options, .threads = 1, .timeout_ms = 60000};
  CHECK(velmora_capture_abi_version() == VELMORA_CAPTURE_ABI_VERSION);
  CHECK(velmora_capture_create(NULL, &options, &capture, NULL) == 0);
  CheckFile(capture);
  CheckPixels(capture);
  CHECK(velmora_capture_destroy(capture) == 0);
  CHECK(released == 2 && delivered == 1);
  ExitProcess(0);
}

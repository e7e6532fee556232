/* A program that was compiled when the C interface had version 1, with the header of that day,
 * which lies beside this file: old programs must go on working with every later library. */
#include "velmora_capture.h"

#include <stdio.h>
#include <string.h>

static int failures = 0;

static void check(int isTrue, const char* what) {
  if (isTrue) return;
  ++failures;
  fprintf(stderr, "not so any more: %s\n", what);
}
#define CHECK(condition) check(condition, #condition)

/* A later library knows longer structures; it must not write beyond the size it is given. */
#define GUARDED(type)        \
  struct {                   \
    type value;              \
    unsigned char guard[64]; \
  }
#define PREPARE(guarded)                              \
  memset(&(guarded), 0xA5, sizeof(guarded));          \
  memset(&(guarded).value, 0, sizeof(guarded).value); \
  (guarded).value.size = sizeof(guarded).value
#define CHECK_GUARD(guarded) \
  for (size_t i = 0; i < sizeof(guarded).guard; ++i) CHECK((guarded).guard[i] == 0xA5)

static void check_result(const velmora_result* result) {
  GUARDED(velmora_result_info) info;
  GUARDED(velmora_code) code;
  PREPARE(info);
  PREPARE(code);
  CHECK(velmora_result_get_info(result, &info.value) == 0);
  CHECK(info.value.error_code == 0 && info.value.width > 0 && info.value.total_ns > 0);
  CHECK(velmora_result_code_count(result) == 1);
  CHECK(velmora_result_get_code(result, 0, &code.value) == 0);
  CHECK(strcmp(code.value.text, EXPECTED_TEXT) == 0);
  CHECK(code.value.text_length == strlen(EXPECTED_TEXT));
  CHECK_GUARD(info);
  CHECK_GUARD(code);
}

static void VELMORA_C_CALL count_call(void* user) {
  ++*(int*)user;
}
static void VELMORA_C_CALL count_result(void* user, velmora_result* result) {
  if (velmora_result_code_count(result) == 0) ++*(int*)user;
}

/* The destructor of the capture waits for the images that were submitted. */
static void check_submitted_pixels(velmora_capture* capture) {
  static const unsigned char pixels[16 * 16];
  velmora_image image = {.size = sizeof image,
                         .format = VELMORA_PIXELS_GREY8,
                         .width = 16,
                         .height = 16,
                         .pixels = pixels,
                         .length = sizeof pixels};
  static int released = 0, results = 0;
  CHECK(velmora_capture_submit(capture, &image, count_call, &released, count_result, &results,
                               10000) == 0);
  CHECK(velmora_capture_destroy(capture) == 0);
  CHECK(released == 1 && results == 1);
}

int main(int argc, char** argv) {
  velmora_capture_options options = {.size = sizeof options, .threads = 2};
  velmora_capture* capture = NULL;
  velmora_result* result = NULL;
  CHECK(argc == 2);
  CHECK(velmora_capture_abi_version() == VELMORA_CAPTURE_ABI_VERSION);
  CHECK(velmora_capture_create(NULL, &options, &capture, NULL) == 0);
  CHECK(velmora_capture_read_file(capture, argv[argc - 1], &result) == 0);
  if (failures == 0) check_result(result);
  velmora_result_release(result);
  if (capture != NULL) check_submitted_pixels(capture);
  return failures == 0 ? 0 : 1;
}

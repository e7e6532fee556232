/* Prints the codes of a picture, as examples/embed does, from C. */
#include <stdio.h>

#include "velmora_capture/c/velmora_capture.h"

static void print_code(const velmora_result* result, int32_t index) {
  velmora_code code = {.size = sizeof code};
  if (velmora_result_get_code(result, index, &code) != 0) return;
  printf("%s: %s\n", code.symbology, code.text);
}

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "label.jpg";
  velmora_capture* capture = NULL;
  velmora_result* result = NULL;
  int32_t error = velmora_capture_create(NULL, NULL, &capture, NULL);
  if (error == 0) error = velmora_capture_read_file(capture, path, &result);
  for (int32_t i = 0; i < velmora_result_code_count(result); ++i) print_code(result, i);
  if (error != 0) fprintf(stderr, "%s (%d)\n", velmora_error_string(error), (int)error);
  velmora_result_release(result);
  velmora_capture_destroy(capture);
  return error == 0 ? 0 : 1;
}

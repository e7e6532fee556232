/* convert.c negotiates formats with a camera; there is none. */
int zbar_video_init(void* video, unsigned long format) {
  (void)video;
  (void)format;
  return -1;
}

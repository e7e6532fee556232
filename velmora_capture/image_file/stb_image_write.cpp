// The one place where the code of stb's header is compiled.
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

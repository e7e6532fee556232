// The one place where the code of stb's image headers is compiled: with exactly the formats that
// the program promises.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_PNM
#define STBI_NO_LINEAR
#define STBI_FAILURE_USERMSG  // reasons in words, as "Unexpected end"
#include <stb_image.h>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

// The one place where the code of stb's header is compiled.
#include "velmora_capture/image_file/internal/encoder_memory.h"

thread_local velmora::capture::EncoderMemory* velmora::capture::EncoderMemory::current = nullptr;

#define STBIW_MALLOC(size) velmora::capture::EncoderMemory::Reallocate(nullptr, size)
#define STBIW_REALLOC(block, size) velmora::capture::EncoderMemory::Reallocate(block, size)
#define STBIW_FREE(block) velmora::capture::EncoderMemory::Free(block)
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

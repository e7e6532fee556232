// JPEG through libjpeg-turbo.
#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdio>  // jpeglib.h needs it
#include <limits>
#include <vector>

#include <jpeglib.h>
// After jpeglib.h, which it belongs to.
#include <jerror.h>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

// Cameras write about ten; each one walks through the whole picture, however short it is.
constexpr int kMostScans = 100;

// What the library's callbacks need. They leave it by longjmp, which must not skip destructors:
// everything that owns something is here.
struct Reader {
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors{};
  jpeg_source_mgr source{};
  jpeg_progress_mgr progress{};
  std::jmp_buf escape{};
  char reason[JMSG_LENGTH_MAX] = "";
  bool ranOut = false;              // the file ended before the picture was marked as complete
  std::vector<unsigned char> inks;  // a row of C, M, Y, K

  Reader() = default;
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() { jpeg_destroy_decompress(&info); }
};

Reader& ReaderOf(j_common_ptr info) {
  return *static_cast<Reader*>(info->client_data);
}

[[noreturn]] void Fail(j_common_ptr info) {
  Reader& reader = ReaderOf(info);
  info->err->format_message(info, reader.reason);
  std::longjmp(reader.escape, 1);
}

// Most warnings are about data between the segments. These are about pixels that are made up.
void OnMessage(j_common_ptr info, int level) {
  if (level >= 0) return;
  const int code = info->err->msg_code;
  if (code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE || code == JWRN_ARITH_BAD_CODE) {
    Fail(info);
  }
}

void LimitScans(j_common_ptr info) {
  if (ReaderOf(info).info.input_scan_number <= kMostScans) return;
  info->err->msg_code = JERR_BAD_PROGRESSION;
  Fail(info);
}

// An end marker for files that miss nothing else.
boolean EndFile(j_decompress_ptr info) {
  static const JOCTET end[] = {0xFF, JPEG_EOI};
  ReaderOf(reinterpret_cast<j_common_ptr>(info)).ranOut = true;
  info->src->next_input_byte = end;
  info->src->bytes_in_buffer = sizeof end;
  return TRUE;
}

void SkipBytes(j_decompress_ptr info, long count) {
  if (count <= 0) return;
  jpeg_source_mgr& source = *info->src;
  const std::size_t skipped = std::min(static_cast<std::size_t>(count), source.bytes_in_buffer);
  source.next_input_byte += skipped;
  source.bytes_in_buffer -= skipped;
}

void Prepare(Reader& reader, const FileBytes& bytes) {
  reader.info.err = jpeg_std_error(&reader.errors);
  reader.errors.error_exit = &Fail;
  reader.errors.emit_message = &OnMessage;
  reader.info.client_data = &reader;
  jpeg_create_decompress(&reader.info);
  reader.source.next_input_byte = bytes.data;
  reader.source.bytes_in_buffer = bytes.size;
  reader.source.init_source = [](j_decompress_ptr) {};
  reader.source.fill_input_buffer = &EndFile;
  reader.source.skip_input_data = &SkipBytes;
  reader.source.resync_to_restart = &jpeg_resync_to_restart;
  reader.source.term_source = [](j_decompress_ptr) {};
  reader.info.src = &reader.source;
  reader.progress.progress_monitor = &LimitScans;
  reader.info.progress = &reader.progress;
}

// Pictures of several scans are kept as coefficients: at most 8 bytes a pixel, 2 for each of up to
// four components.
void LimitMemory(Reader& reader) {
  const std::int64_t pixels =
      std::int64_t{reader.info.image_width} * std::int64_t{reader.info.image_height};
  const std::int64_t bytes = 16 * pixels + (std::int64_t{1} << 24);
  reader.info.mem->max_memory_to_use =
      static_cast<long>(std::min<std::int64_t>(bytes, std::numeric_limits<long>::max()));
}

// Inks as amounts of light, which is how Adobe's programs store them, or as amounts of ink.
void MixInks(const Reader& reader, unsigned char* row) {
  const unsigned flip = reader.info.saw_Adobe_marker != 0 ? 0 : 255;
  const unsigned char* ink = reader.inks.data();
  for (JDIMENSION x = 0; x < reader.info.output_width; ++x, ink += 4) {
    for (int c = 0; c < 3; ++c) {
      *row++ = static_cast<unsigned char>((ink[c] ^ flip) * (ink[3] ^ flip) / 255);
    }
  }
}

void ReadRows(Reader& reader, PictureBuffer& buffer) {
  const bool hasInks = reader.info.num_components == 4;
  while (reader.info.output_scanline < reader.info.output_height) {
    unsigned char* const row = buffer.GetRow(static_cast<int>(reader.info.output_scanline));
    JSAMPROW into = hasInks ? reader.inks.data() : row;
    jpeg_read_scanlines(&reader.info, &into, 1);
    if (hasInks) MixInks(reader, row);
  }
}

// False if the library gave up, with the reason in the reader. No object here has a destructor.
bool Decode(Reader& reader, const FileBytes& bytes, PictureBuffer& buffer) {
  if (setjmp(reader.escape) != 0) return false;  // NOLINT(cert-err52-cpp) the library's own way
  Prepare(reader, bytes);
  jpeg_read_header(&reader.info, TRUE);
  buffer.CheckSize(reader.info.image_width, reader.info.image_height);
  LimitMemory(reader);
  const int components = reader.info.num_components;
  reader.info.out_color_space = components == 1   ? JCS_GRAYSCALE
                                : components == 4 ? JCS_CMYK
                                                  : JCS_RGB;
  jpeg_start_decompress(&reader.info);
  buffer.Allocate(reader.info.output_width, reader.info.output_height, components == 1 ? 1 : 3);
  if (components == 4) reader.inks.resize(std::size_t{4} * reader.info.output_width);
  ReadRows(reader, buffer);
  return true;
}

bool IsJpeg(const FileBytes& bytes) {
  return bytes.HasAt(0, "\xFF\xD8\xFF", 3);
}

void DecodeJpeg(const FileBytes& bytes, PictureBuffer& buffer) {
  Reader reader;
  if (!Decode(reader, bytes, buffer)) {
    if (reader.errors.msg_code == JERR_OUT_OF_MEMORY) throw std::bad_alloc();
    throw PictureError(reader.reason);
  }
  // What is missing of a picture in several scans are finer details of the whole.
  if (reader.ranOut && jpeg_has_multiple_scans(&reader.info) != 0) {
    throw PictureError("the file ends within the picture");
  }
}

}  // namespace

const Decoder kJpegDecoder{&IsJpeg, &DecodeJpeg};

}  // namespace velmora::capture

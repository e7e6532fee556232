// The first frame of a GIF, through giflib.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

struct CloseGif {
  void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using Gif = std::unique_ptr<GifFileType, CloseGif>;

[[noreturn]] void Fail(int error) {
  if (error == D_GIF_ERR_NOT_ENOUGH_MEM) throw std::bad_alloc();
  const char* const reason = GifErrorString(error);
  throw PictureError(reason != nullptr ? reason : "broken GIF data");
}

void Check(const GifFileType& gif, int result) {
  if (result != GIF_OK) Fail(gif.Error);
}

// Takes bytes off the front of what is left of the file.
int ReadBytes(GifFileType* gif, GifByteType* to, int count) {
  FileBytes& rest = *static_cast<FileBytes*>(gif->UserData);
  const std::size_t taken = std::min(static_cast<std::size_t>(count), rest.size);
  std::memcpy(to, rest.data, taken);
  rest.data += taken;
  rest.size -= taken;
  return static_cast<int>(taken);
}

// Reads an extension to its end. One kind names the transparent colour of the next frame.
void ReadExtension(GifFileType& gif, int& transparentIndex) {
  int code = 0;
  GifByteType* block = nullptr;
  Check(gif, DGifGetExtension(&gif, &code, &block));
  while (block != nullptr) {
    if (code == GRAPHICS_EXT_FUNC_CODE && block[0] >= 4) {
      transparentIndex = (block[1] & 1) != 0 ? block[4] : -1;
    }
    Check(gif, DGifGetExtensionNext(&gif, &block));
  }
}

// Interlaced rows come in four passes: every 8th from 0, every 8th from 4, every 4th from 2, and
// every other from 1.
std::vector<int> RowOrder(int height, bool isInterlaced) {
  struct Pass {
    int first, step;
  };
  constexpr Pass kPlain[] = {{0, 1}};
  constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  const Pass* const passes = isInterlaced ? kInterlaced : kPlain;
  std::vector<int> order;
  order.reserve(static_cast<std::size_t>(height));
  for (int i = 0; i < (isInterlaced ? 4 : 1); ++i) {
    for (int y = passes[i].first; y < height; y += passes[i].step) order.push_back(y);
  }
  return order;
}

void WriteRow(const GifFileType& gif, const ColorMapObject& colours, int transparentIndex,
              const std::vector<GifByteType>& indexes, unsigned char* row) {
  const int count = std::min(gif.Image.Width, gif.SWidth - gif.Image.Left);
  row += std::ptrdiff_t{3} * gif.Image.Left;
  for (int x = 0; x < count; ++x, row += 3) {
    const int index = indexes[static_cast<std::size_t>(x)];
    if (index == transparentIndex) continue;
    if (index >= colours.ColorCount) throw PictureError("a colour that the GIF does not have");
    const GifColorType& colour = colours.Colors[index];
    row[0] = colour.Red;
    row[1] = colour.Green;
    row[2] = colour.Blue;
  }
}

void ReadFrame(GifFileType& gif, int transparentIndex, PictureBuffer& buffer) {
  Check(gif, DGifGetImageHeader(&gif));
  const GifImageDesc& frame = gif.Image;
  const ColorMapObject* const colours = frame.ColorMap != nullptr ? frame.ColorMap : gif.SColorMap;
  if (colours == nullptr) throw PictureError("a GIF without colours");
  buffer.CheckSize(static_cast<unsigned>(frame.Width), static_cast<unsigned>(frame.Height));
  buffer.Allocate(static_cast<unsigned>(gif.SWidth), static_cast<unsigned>(gif.SHeight), 3);
  // What no frame covers is as transparent as what has no colour.
  std::memset(buffer.GetRow(0), 255, buffer.GetSize());
  std::vector<GifByteType> indexes(static_cast<std::size_t>(frame.Width));
  for (const int y : RowOrder(frame.Height, frame.Interlace)) {
    Check(gif, DGifGetLine(&gif, indexes.data(), frame.Width));
    if (frame.Top + y < gif.SHeight) {
      WriteRow(gif, *colours, transparentIndex, indexes, buffer.GetRow(frame.Top + y));
    }
  }
}

bool IsGif(const FileBytes& bytes) {
  return bytes.HasAt(0, "GIF8", 4);
}

void DecodeGif(const FileBytes& bytes, PictureBuffer& buffer) {
  FileBytes rest = bytes;
  int error = 0;
  const Gif gif(DGifOpen(&rest, &ReadBytes, &error));
  if (gif == nullptr) Fail(error);
  int transparentIndex = -1;
  for (GifRecordType type = UNDEFINED_RECORD_TYPE;;) {
    Check(*gif, DGifGetRecordType(gif.get(), &type));
    if (type == IMAGE_DESC_RECORD_TYPE) return ReadFrame(*gif, transparentIndex, buffer);
    if (type == TERMINATE_RECORD_TYPE) throw PictureError("a GIF without a picture");
    ReadExtension(*gif, transparentIndex);
  }
}

}  // namespace

const Decoder kGifDecoder{&IsGif, &DecodeGif};

}  // namespace velmora::capture

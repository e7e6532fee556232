// The conversions that are measured, and the peers that have them: libyuv, OpenCV, Leptonica. Where
// a peer rounds differently (libyuv's full-range grey, other YUV constants) or writes four bytes
// per pixel instead of three, its work is of the same kind and nearly the same size.
#pragma once

#include <leptonica/allheaders.h>
#include <libyuv.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

namespace velmora::bench {

using Byte = unsigned char;

// A source with rows of 16 more pixels than are used, so that no conversion is one long row, and
// room for the result of a peer.
struct Frame {
  Frame(int frameWidth, int frameHeight, int bits)
      : width(frameWidth),
        height(frameHeight),
        stride((width + 16) * bits / 8),
        source(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height) * 3 / 2),
        target(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {
    std::mt19937 random(1);
    for (Byte& byte : source) byte = static_cast<Byte>(random() >> 24);
    for (std::size_t i = 0; i < sizeof(palette); ++i) palette[i] = static_cast<Byte>(i * 7);
  }

  const Byte* Chroma() const {
    return source.data() + static_cast<std::ptrdiff_t>(stride) * height;
  }
  cv::Mat Mat(int type) const {
    return {height, width, type, const_cast<Byte*>(source.data()),
            static_cast<std::size_t>(stride)};
  }
  cv::Mat TargetMat(int type) { return {height, width, type, target.data()}; }

  int width, height, stride;
  std::vector<Byte> source, target;
  Byte palette[768];
};

using Convert = std::function<void(Frame&)>;

struct Peer {
  const char* name;
  Convert convert;
};

// ---- libyuv ----

// From one plane to one plane of `channels` bytes per pixel.
template <typename Function>
Peer Yuv(Function convert, int channels) {
  return {"libyuv", [convert, channels](Frame& frame) {
            convert(frame.source.data(), frame.stride, frame.target.data(), frame.width * channels,
                    frame.width, frame.height);
          }};
}

template <typename Function>
Peer YuvFromWords(Function convert) {
  return {"libyuv", [convert](Frame& frame) {
            convert(reinterpret_cast<const std::uint16_t*>(frame.source.data()), frame.stride / 2,
                    frame.target.data(), frame.width * 4, frame.width, frame.height);
          }};
}

template <typename Function>
Peer YuvFromPlanes(Function convert) {
  return {"libyuv", [convert](Frame& frame) {
            convert(frame.source.data(), frame.stride, frame.Chroma(), frame.stride,
                    frame.target.data(), frame.width * 3, frame.width, frame.height);
          }};
}

inline Peer YuvCopy(int channels) {
  return {"libyuv", [channels](Frame& f) {
            libyuv::CopyPlane(f.source.data(), f.stride, f.target.data(), f.width * channels,
                              f.width * channels, f.height);
          }};
}

// ---- OpenCV ----

inline Peer Cv(int sourceType, int targetType, int code) {
  return {"OpenCV", [=](Frame& frame) {
            cv::Mat target = frame.TargetMat(targetType);
            cv::cvtColor(frame.Mat(sourceType), target, code);
          }};
}

inline Peer CvFromPlanes(int code) {
  return {"OpenCV", [=](Frame& frame) {
            const cv::Mat chroma(frame.height / 2, frame.width / 2, CV_8UC2,
                                 const_cast<Byte*>(frame.Chroma()),
                                 static_cast<std::size_t>(frame.stride));
            cv::Mat target = frame.TargetMat(CV_8UC3);
            cv::cvtColorTwoPlane(frame.Mat(CV_8UC1), chroma, target, code);
          }};
}

inline Peer CvChannel(int type, int channel) {
  return {"OpenCV", [=](Frame& frame) {
            cv::Mat target = frame.TargetMat(CV_8UC1);
            cv::extractChannel(frame.Mat(type), target, channel);
          }};
}

inline Peer CvCopy(int type) {
  return {"OpenCV", [type](Frame& frame) {
            cv::Mat target = frame.TargetMat(type);
            frame.Mat(type).copyTo(target);
          }};
}

inline Peer CvPalette(int channels) {
  return {"OpenCV", [channels](Frame& frame) {
            cv::Mat target = frame.TargetMat(CV_8UC(channels));
            const cv::Mat palette(256, 1, CV_8UC(channels), frame.palette);
            if (channels == 1) {
              cv::LUT(frame.Mat(CV_8UC1), palette, target);
            } else {
              cv::applyColorMap(frame.Mat(CV_8UC1), target, palette);
            }
          }};
}

inline Peer CvHighBytes() {
  return {"OpenCV", [](Frame& frame) {
            cv::Mat target = frame.TargetMat(CV_8UC3);
            frame.Mat(CV_16UC3).convertTo(target, CV_8U, 1.0 / 256);
          }};
}

// ---- Leptonica ----

struct PixDeleter {
  void operator()(PIX* pix) const { pixDestroy(&pix); }
};
using Pix = std::unique_ptr<PIX, PixDeleter>;

// Leptonica has images of its own. The source is random bits in one, the target is written again
// and again.
inline Peer Leptonica(int bits, PIX* (*convert)(PIX* target, PIX* source)) {
  struct Images {
    Pix source, target;
  };
  const auto images = std::make_shared<Images>();
  return {"Leptonica", [=](Frame& frame) {
            if (!images->source) {
              images->source.reset(pixCreate(frame.width, frame.height, bits));
              const auto size = static_cast<std::size_t>(pixGetWpl(images->source.get())) * 4 *
                                static_cast<std::size_t>(frame.height);
              std::copy_n(frame.source.data(), std::min(size, frame.source.size()),
                          reinterpret_cast<Byte*>(pixGetData(images->source.get())));
            }
            PIX* const old = images->target.release();
            images->target.reset(convert(old, images->source.get()));
          }};
}

// ---- the conversions ----

enum Flag { kNone = 0, k565 = 1, kReversed = 2, kYuv = 4, kPalette = 8 };

struct Conversion {
  std::string name;
  int bits, flags, channels;  // of the source, the source, the target
  int usage;
  std::vector<Peer> peers;  // empty: none has such a function
};

inline std::vector<Conversion> Conversions() {
  const Peer bitsToGrey =
      Leptonica(1, [](PIX* target, PIX* source) { return pixConvert1To8(target, source, 0, 255); });
  const Peer bitsToColour = Leptonica(
      1, [](PIX* target, PIX* source) { return pixConvert1To32(target, source, 0, 0xFFFFFF00); });
  std::vector<Conversion> conversions = {
      {"bit -> grey", 1, kPalette, 1, 0, {bitsToGrey}},
      {"nibble -> grey", 4, kPalette, 1, 0, {}},
      {"byte -> grey", 8, kNone, 1, 0, {YuvCopy(1), CvCopy(CV_8UC1)}},
      {"indexed -> grey", 8, kPalette, 1, 0, {CvPalette(1)}},
      {"565 -> grey", 16, k565, 1, 0, {Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5652GRAY)}},
      {"555 -> grey", 16, kNone, 1, 0, {Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5552GRAY)}},
      {"BGR -> grey",
       24,
       kNone,
       1,
       0,
       {Yuv(libyuv::RGB24ToJ400, 1), Cv(CV_8UC3, CV_8UC1, cv::COLOR_BGR2GRAY)}},
      {"RGB -> grey",
       24,
       kReversed,
       1,
       0,
       {Yuv(libyuv::RAWToJ400, 1), Cv(CV_8UC3, CV_8UC1, cv::COLOR_RGB2GRAY)}},
      {"BGRA -> grey",
       32,
       kNone,
       1,
       0,
       {Yuv(libyuv::ARGBToJ400, 1), Cv(CV_8UC4, CV_8UC1, cv::COLOR_BGRA2GRAY)}},
      {"RGBA -> grey",
       32,
       kReversed,
       1,
       0,
       {Yuv(libyuv::ABGRToJ400, 1), Cv(CV_8UC4, CV_8UC1, cv::COLOR_RGBA2GRAY)}},
      {"bit -> colour", 1, kPalette, 3, 0, {bitsToColour}},
      {"nibble -> colour", 4, kNone, 3, 0, {}},
      {"byte -> colour", 8, kNone, 3, 0, {Cv(CV_8UC1, CV_8UC3, cv::COLOR_GRAY2BGR)}},
      {"indexed -> colour", 8, kPalette, 3, 0, {CvPalette(3)}},
      {"565 -> colour", 16, k565, 3, 0, {Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5652BGR)}},
      {"555 -> colour", 16, kNone, 3, 0, {Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5552BGR)}},
      {"BGR -> colour", 24, kNone, 3, 0, {YuvCopy(3), CvCopy(CV_8UC3)}},
      {"RGB -> colour",
       24,
       kReversed,
       3,
       0,
       {Yuv(libyuv::RAWToRGB24, 3), Cv(CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR)}},
      {"BGRA -> colour",
       32,
       kNone,
       3,
       0,
       {Yuv(libyuv::ARGBToRGB24, 3), Cv(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2BGR)}},
      {"RGBA -> colour",
       32,
       kReversed,
       3,
       0,
       {Yuv(libyuv::ARGBToRAW, 3), Cv(CV_8UC4, CV_8UC3, cv::COLOR_RGBA2BGR)}},
      {"BGR 48 -> colour", 48, kNone, 3, 0, {CvHighBytes()}},
      {"RGBA 64 -> colour", 64, kNone, 3, 0, {YuvFromWords(libyuv::AB64ToARGB)}},
      {"BGRA 64 -> colour", 64, kReversed, 3, 0, {YuvFromWords(libyuv::AR64ToARGB)}},
      {"NV21 -> colour",
       24,
       kYuv,
       3,
       0,
       {YuvFromPlanes(libyuv::NV21ToRGB24), CvFromPlanes(cv::COLOR_YUV2BGR_NV21)}},
      {"NV12 -> colour",
       24,
       kYuv | kReversed,
       3,
       0,
       {YuvFromPlanes(libyuv::NV12ToRGB24), CvFromPlanes(cv::COLOR_YUV2BGR_NV12)}},
  };
  // One channel of each layout of colours. The peers take a channel by its place in the pixel.
  struct Layout {
    const char* name;
    int bits, flags, cvType;
  };
  for (const Layout& layout :
       {Layout{"565", 16, k565, 0}, Layout{"555", 16, kNone, 0}, Layout{"BGR", 24, kNone, CV_8UC3},
        Layout{"RGB", 24, kReversed, CV_8UC3}, Layout{"BGRA", 32, kNone, CV_8UC4},
        Layout{"RGBA", 32, kReversed, CV_8UC4}}) {
    constexpr const char* kChannels[] = {"red", "green", "blue"};
    for (int i = 0; i < 3; ++i) {
      const int place = (layout.flags & kReversed) != 0 ? i : 2 - i;
      std::vector<Peer> peers;
      if (layout.cvType != 0) peers.push_back(CvChannel(layout.cvType, place));
      conversions.push_back({std::string(layout.name) + " -> " + kChannels[i], layout.bits,
                             layout.flags, 1, 3 + i, std::move(peers)});
    }
  }
  return conversions;
}

}  // namespace velmora::bench

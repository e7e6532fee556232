// Who else has the conversions: libyuv, OpenCV, Leptonica. Where a peer rounds differently
// (libyuv's full-range grey, other YUV constants) or writes four bytes per pixel instead of three,
// its work is of the same kind and nearly the same size.
#pragma once

#include <leptonica/allheaders.h>
#include <libyuv.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "bench/conversions.h"

namespace velmora::bench {

// A frame with room for the result of a peer, and views of both for OpenCV.
struct PeerFrame : Frame {
  PeerFrame(int frameWidth, int frameHeight, int bits)
      : Frame(frameWidth, frameHeight, bits),
        target(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {
    for (std::size_t i = 0; i < palette.size(); ++i) palette[i] = static_cast<Byte>(i * 7);
  }

  const Byte* Chroma() const {
    return source.data() + static_cast<std::ptrdiff_t>(stride) * height;
  }
  cv::Mat Mat(int type) const {
    return {height, width, type, const_cast<Byte*>(source.data()),
            static_cast<std::size_t>(stride)};
  }
  cv::Mat TargetMat(int type) { return {height, width, type, target.data()}; }

  std::vector<Byte> target;
  std::array<Byte, 768> palette{};
};

using Convert = std::function<void(PeerFrame&)>;

struct Peer {
  const char* name;
  Convert convert;
};

// ---- libyuv ----

// From one plane to one plane of `channels` bytes per pixel.
template <typename Function>
Peer Yuv(Function convert, int channels) {
  return {"libyuv", [convert, channels](PeerFrame& frame) {
            convert(frame.source.data(), frame.stride, frame.target.data(), frame.width * channels,
                    frame.width, frame.height);
          }};
}

template <typename Function>
Peer YuvFromWords(Function convert) {
  return {"libyuv", [convert](PeerFrame& frame) {
            convert(reinterpret_cast<const std::uint16_t*>(frame.source.data()), frame.stride / 2,
                    frame.target.data(), frame.width * 4, frame.width, frame.height);
          }};
}

template <typename Function>
Peer YuvFromPlanes(Function convert) {
  return {"libyuv", [convert](PeerFrame& frame) {
            convert(frame.source.data(), frame.stride, frame.Chroma(), frame.stride,
                    frame.target.data(), frame.width * 3, frame.width, frame.height);
          }};
}

inline Peer YuvCopy(int channels) {
  return {"libyuv", [channels](PeerFrame& f) {
            libyuv::CopyPlane(f.source.data(), f.stride, f.target.data(), f.width * channels,
                              f.width * channels, f.height);
          }};
}

// ---- OpenCV ----

inline Peer Cv(int sourceType, int targetType, int code) {
  return {"OpenCV", [=](PeerFrame& frame) {
            cv::Mat target = frame.TargetMat(targetType);
            cv::cvtColor(frame.Mat(sourceType), target, code);
          }};
}

inline Peer CvFromPlanes(int code) {
  return {"OpenCV", [=](PeerFrame& frame) {
            const cv::Mat chroma(frame.height / 2, frame.width / 2, CV_8UC2,
                                 const_cast<Byte*>(frame.Chroma()),
                                 static_cast<std::size_t>(frame.stride));
            cv::Mat target = frame.TargetMat(CV_8UC3);
            cv::cvtColorTwoPlane(frame.Mat(CV_8UC1), chroma, target, code);
          }};
}

inline Peer CvChannel(int type, int channel) {
  return {"OpenCV", [=](PeerFrame& frame) {
            cv::Mat target = frame.TargetMat(CV_8UC1);
            cv::extractChannel(frame.Mat(type), target, channel);
          }};
}

inline Peer CvCopy(int type) {
  return {"OpenCV", [type](PeerFrame& frame) {
            cv::Mat target = frame.TargetMat(type);
            frame.Mat(type).copyTo(target);
          }};
}

inline Peer CvPalette(int channels) {
  return {"OpenCV", [channels](PeerFrame& frame) {
            cv::Mat target = frame.TargetMat(CV_8UC(channels));
            const cv::Mat palette(256, 1, CV_8UC(channels), frame.palette.data());
            if (channels == 1) {
              cv::LUT(frame.Mat(CV_8UC1), palette, target);
            } else {
              cv::applyColorMap(frame.Mat(CV_8UC1), target, palette);
            }
          }};
}

inline Peer CvHighBytes() {
  return {"OpenCV", [](PeerFrame& frame) {
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
  return {"Leptonica", [=](PeerFrame& frame) {
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

// ---- who has which ----

// By the names of the conversions.
inline std::map<std::string, std::vector<Peer>> Peers() {
  return {
      {"bit -> grey",
       {Leptonica(
           1, [](PIX* target, PIX* source) { return pixConvert1To8(target, source, 0, 255); })}},
      {"byte -> grey", {YuvCopy(1), CvCopy(CV_8UC1)}},
      {"indexed -> grey", {CvPalette(1)}},
      {"565 -> grey", {Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5652GRAY)}},
      {"555 -> grey", {Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5552GRAY)}},
      {"BGR -> grey", {Yuv(libyuv::RGB24ToJ400, 1), Cv(CV_8UC3, CV_8UC1, cv::COLOR_BGR2GRAY)}},
      {"RGB -> grey", {Yuv(libyuv::RAWToJ400, 1), Cv(CV_8UC3, CV_8UC1, cv::COLOR_RGB2GRAY)}},
      {"BGRA -> grey", {Yuv(libyuv::ARGBToJ400, 1), Cv(CV_8UC4, CV_8UC1, cv::COLOR_BGRA2GRAY)}},
      {"RGBA -> grey", {Yuv(libyuv::ABGRToJ400, 1), Cv(CV_8UC4, CV_8UC1, cv::COLOR_RGBA2GRAY)}},
      {"bit -> colour",
       {Leptonica(1, [](PIX* target,
                        PIX* source) { return pixConvert1To32(target, source, 0, 0xFFFFFF00); })}},
      {"byte -> colour", {Cv(CV_8UC1, CV_8UC3, cv::COLOR_GRAY2BGR)}},
      {"indexed -> colour", {CvPalette(3)}},
      {"565 -> colour", {Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5652BGR)}},
      {"555 -> colour", {Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5552BGR)}},
      {"BGR -> colour", {YuvCopy(3), CvCopy(CV_8UC3)}},
      {"RGB -> colour", {Yuv(libyuv::RAWToRGB24, 3), Cv(CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR)}},
      {"BGRA -> colour", {Yuv(libyuv::ARGBToRGB24, 3), Cv(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2BGR)}},
      {"RGBA -> colour", {Yuv(libyuv::ARGBToRAW, 3), Cv(CV_8UC4, CV_8UC3, cv::COLOR_RGBA2BGR)}},
      {"BGR 48 -> colour", {CvHighBytes()}},
      {"RGBA 64 -> colour", {YuvFromWords(libyuv::AB64ToARGB)}},
      {"BGRA 64 -> colour", {YuvFromWords(libyuv::AR64ToARGB)}},
      {"NV21 -> colour",
       {YuvFromPlanes(libyuv::NV21ToRGB24), CvFromPlanes(cv::COLOR_YUV2BGR_NV21)}},
      {"NV12 -> colour",
       {YuvFromPlanes(libyuv::NV12ToRGB24), CvFromPlanes(cv::COLOR_YUV2BGR_NV12)}},
      {"BGR -> blue", {CvChannel(CV_8UC3, 0)}},
      {"BGR -> green", {CvChannel(CV_8UC3, 1)}},
      {"BGR -> red", {CvChannel(CV_8UC3, 2)}},
      {"RGB -> red", {CvChannel(CV_8UC3, 0)}},
      {"RGB -> green", {CvChannel(CV_8UC3, 1)}},
      {"RGB -> blue", {CvChannel(CV_8UC3, 2)}},
      {"BGRA -> blue", {CvChannel(CV_8UC4, 0)}},
      {"BGRA -> green", {CvChannel(CV_8UC4, 1)}},
      {"BGRA -> red", {CvChannel(CV_8UC4, 2)}},
      {"RGBA -> red", {CvChannel(CV_8UC4, 0)}},
      {"RGBA -> green", {CvChannel(CV_8UC4, 1)}},
      {"RGBA -> blue", {CvChannel(CV_8UC4, 2)}},
  };
}

}  // namespace velmora::bench

// The conversions that are measured, and who else can do them: a naive loop, libyuv, OpenCV.
#pragma once

#include <libyuv.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

namespace velmora::bench {

using Byte = unsigned char;

struct Size {
  const char* name;
  int width, height;
};
// A source with rows of 16 more pixels than are used, so that no conversion is one long row.
struct Frame {
  Frame(const Size& size, int bits)
      : width(size.width),
        height(size.height),
        stride((size.width + 16) * bits / 8),
        source(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height) * 3 / 2),
        target(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3) {
    std::mt19937 random(1);
    for (Byte& byte : source) byte = static_cast<Byte>(random() >> 24);
    for (std::size_t i = 0; i < sizeof(palette); ++i) palette[i] = static_cast<Byte>(i * 7);
  }

  const Byte* Row(int y) const { return source.data() + static_cast<std::ptrdiff_t>(y) * stride; }
  const Byte* Chroma() const { return Row(height); }
  Byte* TargetRow(int y, int channels) {
    return target.data() + static_cast<std::ptrdiff_t>(y) * width * channels;
  }
  cv::Mat Mat(int type, int rows = 0) const {
    return {rows == 0 ? height : rows, width, type, const_cast<Byte*>(source.data()),
            static_cast<std::size_t>(stride)};
  }
  cv::Mat TargetMat(int type) { return {height, width, type, target.data()}; }

  int width, height, stride;
  std::vector<Byte> source, target;
  Byte palette[768];
};

// ---- the naive loops: the textbook formula for a pixel, written out row by row ----

template <int kChannels, typename Pixel>
std::function<void(Frame&)> Naive(Pixel pixel) {
  return [pixel](Frame& frame) {
    for (int y = 0; y < frame.height; ++y) {
      const Byte* row = frame.Row(y);
      Byte* target = frame.TargetRow(y, kChannels);
      for (int x = 0; x < frame.width; ++x, target += kChannels) pixel(frame, row, x, target);
    }
  };
}

inline Byte Grey(int red, int green, int blue) {
  return static_cast<Byte>((red * 19562 + green * 38550 + blue * 7424) >> 16);
}
inline int Word(const Byte* row, int x) {
  return row[2 * x] | row[2 * x + 1] << 8;
}
inline Byte Clamp(int value) {
  return static_cast<Byte>(std::min(std::max(value, 0), 255));
}

template <int kStep, int kBlue, int kGreen, int kRed>
std::function<void(Frame&)> NaiveGrey() {
  return Naive<1>([](const Frame&, const Byte* row, int x, Byte* target) {
    const Byte* p = row + x * kStep;
    *target = Grey(p[kRed], p[kGreen], p[kBlue]);
  });
}

template <int kStep, int kBlue, int kGreen, int kRed>
std::function<void(Frame&)> NaiveColour() {
  return Naive<3>([](const Frame&, const Byte* row, int x, Byte* target) {
    const Byte* p = row + x * kStep;
    target[0] = p[kBlue];
    target[1] = p[kGreen];
    target[2] = p[kRed];
  });
}

template <int kV, int kU>
std::function<void(Frame&)> NaiveYuv() {
  return [](Frame& frame) {
    for (int y = 0; y < frame.height; ++y) {
      const Byte* row = frame.Row(y);
      const Byte* chroma = frame.Chroma() + static_cast<std::ptrdiff_t>(y / 2) * frame.stride;
      Byte* target = frame.TargetRow(y, 3);
      for (int x = 0; x < frame.width; ++x, target += 3) {
        const int luminance = std::max(row[x] - 16, 0) * 298 >> 8;
        const int v = chroma[x / 2 * 2 + kV] - 128, u = chroma[x / 2 * 2 + kU] - 128;
        target[0] = Clamp(luminance + (u * 517 >> 8));
        target[1] = Clamp(luminance - (v * 208 >> 8) - (u * 100 >> 8));
        target[2] = Clamp(luminance + (v * 409 >> 8));
      }
    }
  };
}

// ---- the peers ----

template <typename Function>
std::function<void(Frame&)> Yuv(Function convert, int channels) {
  return [convert, channels](Frame& frame) {
    convert(frame.source.data(), frame.stride, frame.target.data(), frame.width * channels,
            frame.width, frame.height);
  };
}

template <typename Function>
std::function<void(Frame&)> YuvPlanes(Function convert) {
  return [convert](Frame& frame) {
    convert(frame.source.data(), frame.stride, frame.Chroma(), frame.stride, frame.target.data(),
            frame.width * 3, frame.width, frame.height);
  };
}

inline std::function<void(Frame&)> Cv(int sourceType, int targetType, int code) {
  return [=](Frame& frame) {
    cv::Mat target = frame.TargetMat(targetType);
    cv::cvtColor(frame.Mat(sourceType), target, code);
  };
}

inline std::function<void(Frame&)> CvYuv(int code) {
  return [=](Frame& frame) {
    const cv::Mat chroma(frame.height / 2, frame.width / 2, CV_8UC2,
                         const_cast<Byte*>(frame.Chroma()), static_cast<std::size_t>(frame.stride));
    cv::Mat target = frame.TargetMat(CV_8UC3);
    cv::cvtColorTwoPlane(frame.Mat(CV_8UC1), chroma, target, code);
  };
}

inline std::function<void(Frame&)> CvChannel(int type, int channel) {
  return [=](Frame& frame) {
    cv::Mat target = frame.TargetMat(CV_8UC1);
    cv::extractChannel(frame.Mat(type), target, channel);
  };
}

// ---- the conversions ----

enum Flag { kNone = 0, k565 = 1, kReversed = 2, kYuv = 4, kPalette = 8 };

struct Conversion {
  const char* name;
  int bits, flags, channels;  // of the source, the source, the target
  int usage;
  std::function<void(Frame&)> naive, libyuv, opencv;  // empty: has no such function
};

inline std::vector<Conversion> Conversions() {
  const auto paletteGrey = [](const Frame& frame, const Byte* row, int x, Byte* target) {
    *target = frame.palette[row[x]];
  };
  const auto paletteColour = [](const Frame& frame, const Byte* row, int x, Byte* target) {
    const Byte* entry = frame.palette + 3 * row[x];
    for (int i = 0; i < 3; ++i) target[i] = entry[2 - i];
  };
  const auto bit = [](const Byte* row, int x) { return row[x / 8] >> (7 - x % 8) & 1; };
  const auto nibble = [](const Byte* row, int x) {
    return row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15;
  };
  const auto copyPlane = [](int channels) {
    return [channels](Frame& f) {
      libyuv::CopyPlane(f.source.data(), f.stride, f.target.data(), f.width * channels,
                        f.width * channels, f.height);
    };
  };
  const auto lookUp = [](Frame& f) {
    cv::Mat target = f.TargetMat(CV_8UC1);
    cv::LUT(f.Mat(CV_8UC1), cv::Mat(1, 256, CV_8UC1, f.palette), target);
  };
  const auto cvCopy = [](int type) {
    return [type](Frame& f) {
      cv::Mat target = f.TargetMat(type);
      f.Mat(type).copyTo(target);
    };
  };
  return {
      {"bit -> grey",
       1,
       kPalette,
       1,
       0,
       Naive<1>(
           [bit](const Frame& f, const Byte* r, int x, Byte* t) { *t = f.palette[bit(r, x)]; }),
       {},
       {}},
      {"nibble -> grey",
       4,
       kPalette,
       1,
       0,
       Naive<1>([nibble](const Frame& f, const Byte* r, int x, Byte* t) {
         *t = f.palette[nibble(r, x)];
       }),
       {},
       {}},
      {"byte -> grey", 8, kNone, 1, 0,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) { *t = r[x]; }), copyPlane(1),
       cvCopy(CV_8UC1)},
      {"indexed -> grey", 8, kPalette, 1, 0, Naive<1>(paletteGrey), {}, lookUp},
      {"565 -> grey",
       16,
       k565,
       1,
       0,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) {
         const int p = Word(r, x);
         *t = Grey(p >> 8 & 0xF8, p >> 3 & 0xFC, p << 3 & 0xFF);
       }),
       {},
       Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5652GRAY)},
      {"555 -> grey",
       16,
       kNone,
       1,
       0,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) {
         const int p = Word(r, x);
         *t = Grey(p >> 7 & 0xF8, p >> 2 & 0xF8, p << 3 & 0xFF);
       }),
       {},
       Cv(CV_8UC2, CV_8UC1, cv::COLOR_BGR5552GRAY)},
      {"565 -> red",
       16,
       k565,
       1,
       3,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) {
         *t = static_cast<Byte>(Word(r, x) >> 8 & 0xF8);
       }),
       {},
       {}},
      {"BGR -> grey", 24, kNone, 1, 0, NaiveGrey<3, 0, 1, 2>(), Yuv(libyuv::RGB24ToJ400, 1),
       Cv(CV_8UC3, CV_8UC1, cv::COLOR_BGR2GRAY)},
      {"RGB -> grey", 24, kReversed, 1, 0, NaiveGrey<3, 2, 1, 0>(), Yuv(libyuv::RAWToJ400, 1),
       Cv(CV_8UC3, CV_8UC1, cv::COLOR_RGB2GRAY)},
      {"BGRA -> grey", 32, kNone, 1, 0, NaiveGrey<4, 0, 1, 2>(), Yuv(libyuv::ARGBToJ400, 1),
       Cv(CV_8UC4, CV_8UC1, cv::COLOR_BGRA2GRAY)},
      {"RGBA -> grey", 32, kReversed, 1, 0, NaiveGrey<4, 2, 1, 0>(), Yuv(libyuv::ABGRToJ400, 1),
       Cv(CV_8UC4, CV_8UC1, cv::COLOR_RGBA2GRAY)},
      {"BGR -> green",
       24,
       kNone,
       1,
       4,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) { *t = r[3 * x + 1]; }),
       {},
       CvChannel(CV_8UC3, 1)},
      {"BGRA -> green",
       32,
       kNone,
       1,
       4,
       Naive<1>([](const Frame&, const Byte* r, int x, Byte* t) { *t = r[4 * x + 1]; }),
       {},
       CvChannel(CV_8UC4, 1)},
      {"bit -> colour",
       1,
       kPalette,
       3,
       0,
       Naive<3>([bit](const Frame& f, const Byte* r, int x, Byte* t) {
         for (int i = 0; i < 3; ++i) t[i] = f.palette[3 * bit(r, x) + 2 - i];
       }),
       {},
       {}},
      {"nibble -> colour",
       4,
       kNone,
       3,
       0,
       Naive<3>([nibble](const Frame&, const Byte* r, int x, Byte* t) {
         t[0] = t[1] = t[2] = static_cast<Byte>(nibble(r, x) * 15);
       }),
       {},
       {}},
      {"byte -> colour",
       8,
       kNone,
       3,
       0,
       Naive<3>([](const Frame&, const Byte* r, int x, Byte* t) { t[0] = t[1] = t[2] = r[x]; }),
       {},
       Cv(CV_8UC1, CV_8UC3, cv::COLOR_GRAY2BGR)},
      {"indexed -> colour", 8, kPalette, 3, 0, Naive<3>(paletteColour), {}, {}},
      {"565 -> colour",
       16,
       k565,
       3,
       0,
       Naive<3>([](const Frame&, const Byte* r, int x, Byte* t) {
         const int p = Word(r, x);
         t[0] = static_cast<Byte>(p << 3);
         t[1] = static_cast<Byte>(p >> 3 & 0xFC);
         t[2] = static_cast<Byte>(p >> 8 & 0xF8);
       }),
       {},
       Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5652BGR)},
      {"555 -> colour",
       16,
       kNone,
       3,
       0,
       Naive<3>([](const Frame&, const Byte* r, int x, Byte* t) {
         const int p = Word(r, x);
         t[0] = static_cast<Byte>(p << 3);
         t[1] = static_cast<Byte>(p >> 2 & 0xF8);
         t[2] = static_cast<Byte>(p >> 7 & 0xF8);
       }),
       {},
       Cv(CV_8UC2, CV_8UC3, cv::COLOR_BGR5552BGR)},
      {"BGR -> colour", 24, kNone, 3, 0, NaiveColour<3, 0, 1, 2>(), copyPlane(3), cvCopy(CV_8UC3)},
      {"RGB -> colour", 24, kReversed, 3, 0, NaiveColour<3, 2, 1, 0>(), Yuv(libyuv::RAWToRGB24, 3),
       Cv(CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR)},
      {"BGRA -> colour", 32, kNone, 3, 0, NaiveColour<4, 0, 1, 2>(), Yuv(libyuv::ARGBToRGB24, 3),
       Cv(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2BGR)},
      {"RGBA -> colour", 32, kReversed, 3, 0, NaiveColour<4, 2, 1, 0>(), Yuv(libyuv::ARGBToRAW, 3),
       Cv(CV_8UC4, CV_8UC3, cv::COLOR_RGBA2BGR)},
      {"BGR 48 -> colour", 48, kNone, 3, 0, NaiveColour<6, 1, 3, 5>(), {}, {}},
      {"RGBA 64 -> colour", 64, kNone, 3, 0, NaiveColour<8, 5, 3, 1>(), {}, {}},
      {"BGRA 64 -> colour", 64, kReversed, 3, 0, NaiveColour<8, 1, 3, 5>(), {}, {}},
      {"YUV V, U -> colour", 24, kYuv, 3, 0, NaiveYuv<0, 1>(), YuvPlanes(libyuv::NV21ToRGB24),
       CvYuv(cv::COLOR_YUV2BGR_NV21)},
      {"YUV U, V -> colour", 24, kYuv | kReversed, 3, 0, NaiveYuv<1, 0>(),
       YuvPlanes(libyuv::NV12ToRGB24), CvYuv(cv::COLOR_YUV2BGR_NV12)},
  };
}

}  // namespace velmora::bench

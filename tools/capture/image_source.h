/// @file
/// Where the images come from.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "velmora/image/image_source_adapter.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/image_file/raw_format.h"

namespace velmora::capture {

/// Reads files on a thread of its own and buffers the images, pictures with a file tag, raw frames
/// with a video tag. Images have the ids 0, 1, 2... in the order in which they are read.
///
/// A source that blocks hands out the oldest image first, so that results come in order; one that
/// drops hands out the newest, as the base does.
///
/// @threadsafety all operations from the thread that made the source
class ImageSource final : public basic_structures::CImageSourceAdapter, public ReadErrorSource {
 public:
  struct Settings {
    std::vector<std::string> files;
    RawFormat raw;
    int bufferSize = 1;
    bool drops = false;
  };

  /// @param capture  notified whenever there is an image, a failure or the end; outlives the source
  ImageSource(Settings settings, Capture& capture);
  ~ImageSource() override;

  /// Starts to read.
  void StartFetching() override;
  bool HasMoreImages() const override;
  basic_structures::CImageData* GetImage() override;

  CaptureError GetReadError(const basic_structures::CImageData& image) const override;
  bool GetReadMoments(const basic_structures::CImageData& image, RunMoment& begin,
                      RunMoment& end) const override;
  std::string GetName(int imageId) const;

 private:
  void Run();
  void ReadPicture(const std::string& file);
  void ReadFrames(const std::string& file);
  void Push(std::unique_ptr<basic_structures::CImageData> image);
  void Fail(int id, const CaptureError& error);
  int AddName(const std::string& name);
  void SetReadMoments(int id, const RunMoment& begin);
  bool IsStopped() const;

  const Settings settings_;
  Capture& capture_;
  std::deque<std::unique_ptr<basic_structures::CImageData>> taken_;  // oldest first
  mutable std::mutex mutex_;                                         // guards what follows
  struct Entry {
    std::string name;
    RunMoment readBegin;
    RunMoment readEnd;
    CaptureError error;
  };
  std::vector<Entry> entries_;                                          // by image id
  std::deque<std::unique_ptr<basic_structures::CImageData>> failures_;  // of a source that drops
  bool isReading_ = false;
  bool isStopped_ = false;
  std::thread thread_;  // the maker's alone
};

}  // namespace velmora::capture

/// @file
/// Where the images come from.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/capture/image_report.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/image/image_source_adapter.h"
#include "velmora_capture/image_file/raw_format.h"
#include "velmora_capture/internal/trace.h"

namespace velmora::capture {

/// Reads files on a thread of its own and buffers the images, pictures with a file tag, raw frames
/// with a video tag. Images have the ids 0, 1, 2... in the order in which they are read.
///
/// A source that blocks hands out the oldest image first, so that results come in order; one that
/// drops hands out the newest, as the base does.
///
/// @threadsafety all operations from the thread that made the source
class ImageSource final : public basic_structures::CImageSourceAdapter {
 public:
  struct Settings {
    std::vector<std::string> files;
    RawFormat raw;
    int bufferSize = 1;
    bool drops = false;
  };

  /// @param events  produced whenever there is an image, a failure or the end; outlives the source
  ImageSource(Settings settings, NxSemaphore& events, Trace& trace);
  ~ImageSource() override;

  /// Starts to read.
  void StartFetching() override;
  bool HasMoreImages() const override;
  basic_structures::CImageData* GetImage() override;

  /// Takes one of the images that could not be read: its id, name and error.
  /// @return false if there is none
  bool TakeFailure(ImageReport& failure);
  std::string GetName(int imageId) const;

 private:
  void Run();
  void ReadPicture(const std::string& file);
  void ReadFrames(const std::string& file);
  void Push(std::unique_ptr<basic_structures::CImageData> image);
  void Fail(const std::string& name, int code, const std::string& reason);
  int AddName(const std::string& name);
  bool IsStopped() const;

  const Settings settings_;
  NxSemaphore& events_;
  Trace& trace_;
  std::deque<std::unique_ptr<basic_structures::CImageData>> taken_;  // oldest first
  mutable std::mutex mutex_;                                         // guards what follows
  std::vector<std::string> names_;
  std::deque<ImageReport> failures_;
  bool isReading_ = false;
  bool isStopped_ = false;
  std::thread thread_;  // the maker's alone
};

}  // namespace velmora::capture

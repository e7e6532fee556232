/// @file
/// Where the images come from.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "tools/capture/system.h"
#include "velmora/image/image_source_adapter.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/image_file/raw_format.h"

namespace velmora::capture {

/// What the source knows about an image; the image's tag carries it to the result.
struct SourceRecord {
  std::string name;  ///< of the file, with "#0", "#1"... for raw frames
  RunMoment readBegin;
  RunMoment readEnd;
  CaptureError error;  ///< of an image that could not be read
};

/// The record in a tag of an image of a `FileSource`, or in a clone of one.
const SourceRecord& GetSourceRecord(const basic_structures::CImageTag* tag);

/// Reads files on a thread of its own and buffers the images, pictures with a file tag, raw frames
/// with a video tag. Images have the ids 0, 1, 2... in the order in which they are read.
///
/// A source that blocks hands out the oldest image first, so that results come in order; one that
/// drops hands out the newest, as the base does. What cannot be read is never dropped.
///
/// @threadsafety `GetImage` from one thread at a time; the others from any
class FileSource final : public basic_structures::CImageSourceAdapter, public ReadErrorSource {
 public:
  struct Settings {
    RawFormat raw;
    std::int64_t maxPixels = 0;
    int bufferSize = 1;
    bool drops = false;
  };
  /// Waits for the next file.
  /// @return false if there are no more
  using NextFile = std::function<bool(const StopSignal& stop, std::string& file)>;

  /// @param next    called on the reading thread
  /// @param notify  called whenever there is an image, or the last one has been read
  FileSource(const Settings& settings, NextFile next, std::function<void()> notify);
  ~FileSource() override;

  /// Starts to read.
  void StartFetching() override;
  bool HasMoreImages() const override;
  basic_structures::CImageData* GetImage() override;
  CaptureError GetReadError(const basic_structures::CImageData& image) const override;
  bool GetReadMoments(const basic_structures::CImageData& image, RunMoment& begin,
                      RunMoment& end) const override;

  /// Reads no more, also where that waits for bytes. What was not handed out never will be.
  void Stop();

 private:
  void Run();
  void ReadPicture(const std::string& file);
  void ReadFrames(const std::string& file);
  void Push(std::unique_ptr<basic_structures::CImageData> image);
  void Refill() VELMORA_REQUIRES(mutex_);
  void PushFailure(SourceRecord record);
  static std::unique_ptr<basic_structures::CImageData> MakeFailure(
      const basic_structures::CImageTag* tag);
  void WaitUntil(std::chrono::steady_clock::time_point due) const;

  const Settings settings_;
  const NextFile next_;
  const std::function<void()> notify_;
  StopSignal stop_;
  int nextId_ = 0;       // the reading thread's
  mutable Mutex mutex_;  // the base's lock may be taken under it
  std::condition_variable hasRoom_;
  // What waits before the base's buffer of one, so that the oldest image comes out first; only of a
  // source that blocks.
  struct Waiting {
    std::unique_ptr<basic_structures::CImageData> image;
    std::shared_ptr<const basic_structures::CImageTag> tag;  // a copy, which outlives the image
  };
  std::deque<Waiting> ahead_ VELMORA_GUARDED_BY(mutex_);
  std::shared_ptr<const basic_structures::CImageTag> buffered_
      VELMORA_GUARDED_BY(mutex_);  // of the image that went into the base's buffer last
  bool isReading_ VELMORA_GUARDED_BY(mutex_) = false;
  std::thread thread_;  // the maker's alone
};

}  // namespace velmora::capture

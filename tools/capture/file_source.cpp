#include "tools/capture/file_source.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

using Clock = std::chrono::steady_clock;

// Both kinds of tags are looked at through this.
class RecordHolder {
 public:
  explicit RecordHolder(SourceRecord record) : record_(std::move(record)) {}
  const SourceRecord& GetRecord() const { return record_; }

 protected:
  RecordHolder(const RecordHolder&) = default;
  RecordHolder& operator=(const RecordHolder&) = delete;
  virtual ~RecordHolder() = default;

 private:
  SourceRecord record_;
};

class PictureTag final : public CFileImageTag, public RecordHolder {
 public:
  PictureTag(SourceRecord record, int id)
      : CFileImageTag(record.name.c_str(), 0, 1), RecordHolder(std::move(record)) {
    SetImageId(id);
  }
  PictureTag(const PictureTag&) = default;
  PictureTag& operator=(const PictureTag&) = delete;
  ~PictureTag() override = default;
  CImageTag* Clone() const override { return new PictureTag(*this); }
};

class FrameTag final : public CVideoFrameTag, public RecordHolder {
 public:
  FrameTag(SourceRecord record, int id, const RawFormat& raw)
      : CVideoFrameTag(VideoFrameQuality{}, false, nullptr, raw.width, raw.height, 0),
        RecordHolder(std::move(record)) {
    SetImageId(id);
  }
  FrameTag(const FrameTag&) = default;
  FrameTag& operator=(const FrameTag&) = delete;
  ~FrameTag() override = default;
  CImageTag* Clone() const override { return new FrameTag(*this); }
};

CaptureError DescribeReadError(int error) {
  if (error == ENOENT) return {EC_FileNotFound, {}, {}, {}};
  return {EC_ImageReadFailed, std::generic_category().message(error), {}, {}};
}

// All bytes of a file, a pipe too.
CaptureError ReadBytes(const std::string& file, std::int64_t maxBytes, const StopSignal& stop,
                       std::vector<unsigned char>& bytes) {
  int error = 0;
  const std::unique_ptr<InputStream> in = InputStream::Open(file, stop, error);
  if (in == nullptr) return DescribeReadError(error);
  for (std::size_t block = std::size_t{1} << 16;; block *= 2) {
    const std::size_t size = bytes.size();
    bytes.resize(size + block);
    const std::size_t count = in->Read(&bytes[size], block);
    bytes.resize(size + count);
    if (in->GetError() != 0) return DescribeReadError(in->GetError());
    if (count < block) return {};
    if (static_cast<std::int64_t>(bytes.size()) > maxBytes) {
      return {EC_ImageReadFailed, "too large for a picture of the pixels allowed", {}, {}};
    }
  }
}

}  // namespace

const SourceRecord& GetSourceRecord(const CImageTag* tag) {
  return dynamic_cast<const RecordHolder&>(*tag).GetRecord();
}

FileSource::FileSource(const Settings& settings, NextFile next, std::function<void()> notify)
    : settings_(settings), next_(std::move(next)), notify_(std::move(notify)) {
  SetMaxImageCount(settings_.drops ? settings_.bufferSize : 1);
  SetBufferOverflowProtectionMode(settings_.drops ? BOP_DropOldest : BOP_Block);
}

FileSource::~FileSource() {
  Stop();
  if (thread_.joinable()) thread_.join();
}

void FileSource::StartFetching() {
  CImageSourceAdapter::StartFetching();
  {
    const MutexLock lock(mutex_);
    isReading_ = true;
  }
  thread_ = std::thread([this] { Run(); });
}

bool FileSource::HasMoreImages() const {
  const MutexLock lock(mutex_);
  return !stop_.IsSet() && (isReading_ || !ahead_.empty() || !IsBufferEmpty());
}

CImageData* FileSource::GetImage() {
  if (stop_.IsSet()) return nullptr;
  std::shared_ptr<const CImageTag> tag;
  {
    const MutexLock lock(mutex_);
    tag = buffered_;
  }
  std::unique_ptr<CImageData> image;
  try {
    image.reset(CImageSourceAdapter::GetImage());
  } catch (const std::bad_alloc&) {
    if (tag == nullptr) throw;
    image = MakeFailure(tag.get());
  }
  {
    const MutexLock lock(mutex_);
    Refill();
  }
  hasRoom_.notify_one();
  return image.release();
}

// What stands for an image whose pixels went when they could not be converted.
std::unique_ptr<CImageData> FileSource::MakeFailure(const CImageTag* tag) {
  SourceRecord record = GetSourceRecord(tag);
  record.error = {EC_NoMemory, {}, {}, {}};
  const PictureTag failure(std::move(record), tag->GetImageId());
  auto image = std::make_unique<CImageData>();
  image->SetImageTag(&failure);
  return image;
}

CaptureError FileSource::GetReadError(const CImageData& image) const {
  return GetSourceRecord(image.GetImageTag()).error;
}

bool FileSource::GetReadMoments(const CImageData& image, RunMoment& begin, RunMoment& end) const {
  const SourceRecord& record = GetSourceRecord(image.GetImageTag());
  begin = record.readBegin;
  end = record.readEnd;
  return true;
}

void FileSource::Stop() {
  stop_.Set();
  StopFetching();
  // A thread that is about to sleep either sees the signal or is woken by the call after this lock.
  { const MutexLock lock(mutex_); }
  hasRoom_.notify_all();
  notify_();
}

void FileSource::Run() {
  for (std::string file; !stop_.IsSet() && next_(stop_, file);) {
    try {
      if (settings_.raw.IsGiven()) {
        ReadFrames(file);
      } else {
        ReadPicture(file);
      }
    } catch (const std::bad_alloc&) {  // what it had is free by now
      const RunMoment now = RunMoment::Now();
      PushFailure({file, now, now, {EC_NoMemory, {}, {}, {}}});
    }
  }
  {
    const MutexLock lock(mutex_);
    isReading_ = false;
  }
  notify_();
}

void FileSource::ReadPicture(const std::string& file) {
  SourceRecord record;
  record.name = file;
  record.readBegin = RunMoment::Now();
  std::vector<unsigned char> bytes;
  // Text formats spend up to twelve bytes on a pixel; what is not pixels gets a MiB.
  record.error = ReadBytes(file, 12 * settings_.maxPixels + (std::int64_t{1} << 20), stop_, bytes);
  if (stop_.IsSet()) return;
  LoadedImage loaded;
  if (record.error.code == EC_Ok) {
    loaded =
        DecodeImage(bytes.data(), bytes.size(), CFileImageTag(nullptr, 0, 0), settings_.maxPixels);
    record.error = {loaded.code, loaded.reason, {}, {}};
  }
  record.readEnd = RunMoment::Now();
  if (record.error.code != EC_Ok) return PushFailure(std::move(record));
  const PictureTag tag(std::move(record), nextId_++);
  loaded.image->SetImageTag(&tag);
  Push(std::move(loaded.image));
}

void FileSource::ReadFrames(const std::string& file) {
  const RawFormat& raw = settings_.raw;
  int error = 0;
  const std::unique_ptr<InputStream> in = InputStream::Open(file, stop_, error);
  if (in == nullptr) {
    const RunMoment now = RunMoment::Now();
    return PushFailure({file, now, now, DescribeReadError(error)});
  }
  std::vector<unsigned char> bytes(raw.FrameBytes());
  Clock::time_point due = Clock::now();
  for (int number = 0;; ++number) {
    const RunMoment begin = RunMoment::Now();
    const std::size_t count = in->Read(bytes.data(), bytes.size());
    if (stop_.IsSet() || (count == 0 && number > 0 && in->GetError() == 0)) return;
    SourceRecord record;
    record.name = file + "#" + std::to_string(number);
    record.readBegin = begin;
    record.readEnd = RunMoment::Now();
    if (count < bytes.size()) {
      record.error =
          in->GetError() != 0
              ? DescribeReadError(in->GetError())
              : CaptureError{EC_ImageReadFailed, "the file ends within the frame", {}, {}};
      return PushFailure(std::move(record));
    }
    const FrameTag tag(std::move(record), nextId_++, raw);
    Push(std::make_unique<CImageData>(bytes.size(), bytes.data(), raw.width, raw.height,
                                      raw.Stride(), raw.pixels, 0, &tag));
    if (raw.framesPerSecond <= 0) continue;
    due += std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1 / raw.framesPerSecond));
    WaitUntil(due);
  }
}

// Waits while there is no room, unless the source drops.
void FileSource::Push(std::unique_ptr<CImageData> image) {
  if (settings_.drops) {
    AddImageToBuffer(image.release(), false);
  } else {
    WaitingLock lock(mutex_);
    const auto room = static_cast<std::size_t>(settings_.bufferSize - 1);
    hasRoom_.wait(lock.Native(), [&]() VELMORA_REQUIRES(mutex_) {
      return stop_.IsSet() || IsBufferEmpty() || ahead_.size() < room;
    });
    if (stop_.IsSet()) return;
    Waiting last{nullptr, std::shared_ptr<const CImageTag>(image->GetImageTag()->Clone())};
    last.image = std::move(image);
    ahead_.push_back(std::move(last));
    Refill();
  }
  notify_();
}

// The buffer of a blocking source is filled only here and only when it is
// empty, so that AddImageToBuffer never waits with the lock held.
void FileSource::Refill() {
  if (ahead_.empty() || !IsBufferEmpty()) return;
  buffered_ = ahead_.front().tag;
  AddImageToBuffer(ahead_.front().image.release(), false);
  ahead_.pop_front();
}

// A dropped image is only counted, and its error would be lost. The failure is the newest image,
// which is taken first: the next image waits until then.
void FileSource::PushFailure(SourceRecord record) {
  const int id = nextId_++;
  const PictureTag tag(std::move(record), id);
  auto image = std::make_unique<CImageData>();
  image->SetImageTag(&tag);
  Push(std::move(image));
  if (!settings_.drops) return;
  WaitingLock lock(mutex_);
  hasRoom_.wait(lock.Native(), [&] { return stop_.IsSet() || !HasImage(id); });
}

void FileSource::WaitUntil(Clock::time_point due) const {
  const auto left = due - Clock::now();
  if (left.count() > 0) {
    stop_.WaitFor(
        static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(left).count()));
  }
}

}  // namespace velmora::capture

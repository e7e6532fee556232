#include "tools/capture/image_source.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {

using namespace basic_structures;

ImageSource::ImageSource(Settings settings, NxSemaphore& events, Trace& trace)
    : settings_(std::move(settings)), events_(events), trace_(trace) {
  SetMaxImageCount(settings_.bufferSize);
  SetBufferOverflowProtectionMode(settings_.drops ? BOP_DropOldest : BOP_Block);
}

ImageSource::~ImageSource() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopped_ = true;
  }
  StopFetching();
  if (thread_.joinable()) thread_.join();
}

void ImageSource::StartFetching() {
  CImageSourceAdapter::StartFetching();
  isReading_ = true;
  thread_ = std::thread([this] { Run(); });
}

bool ImageSource::HasMoreImages() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return isReading_ || !failures_.empty() || !taken_.empty() || !IsBufferEmpty();
}

CImageData* ImageSource::GetImage() {
  if (settings_.drops) return CImageSourceAdapter::GetImage();
  // The base hands out the newest first: taking all turns them round.
  if (taken_.empty())
    while (CImageData* image = CImageSourceAdapter::GetImage()) taken_.emplace_front(image);
  if (taken_.empty()) return nullptr;
  CImageData* oldest = taken_.front().release();
  taken_.pop_front();
  return oldest;
}

bool ImageSource::TakeFailure(ImageReport& failure) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (failures_.empty()) return false;
  failure = std::move(failures_.front());
  failures_.pop_front();
  return true;
}

std::string ImageSource::GetName(int imageId) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return names_.at(static_cast<std::size_t>(imageId));
}

void ImageSource::Run() {
  trace_.AddLane("source");
  for (const std::string& file : settings_.files) {
    if (IsStopped()) break;
    if (settings_.raw.IsGiven()) {
      ReadFrames(file);
    } else {
      ReadPicture(file);
    }
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isReading_ = false;
  }
  events_.Produce();
}

void ImageSource::ReadPicture(const std::string& file) {
  const int id = AddName(file);
  LoadedImage loaded;
  {
    const TraceScope span(SpanKind::kRead, "read", id);
    loaded = LoadImageFile(file, id);
  }
  if (loaded.image == nullptr) {
    Fail(file, loaded.code, loaded.reason);
  } else {
    Push(std::move(loaded.image));
  }
}

void ImageSource::ReadFrames(const std::string& file) {
  const RawFormat& raw = settings_.raw;
  LoadedImage failure;
  const File in = OpenToRead(file, failure);
  if (in == nullptr) {
    AddName(file);
    return Fail(file, failure.code, failure.reason);
  }
  std::vector<unsigned char> bytes(raw.FrameBytes());
  auto due = TraceLane::Clock::now();
  for (int number = 0; !IsStopped(); ++number) {
    const TraceStamp begin = TraceStamp::Now();
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), in.get());
    if (count == 0 && number > 0) return;
    const std::string name = file + "#" + std::to_string(number);
    const int id = AddName(name);
    if (count < bytes.size())
      return Fail(name, EC_ImageReadFailed, "the file ends within the frame");
    CVideoFrameTag tag(VideoFrameQuality{}, false, nullptr, raw.width, raw.height, 0);
    tag.SetImageId(id);
    auto frame = std::make_unique<CImageData>(bytes.size(), bytes.data(), raw.width, raw.height,
                                              raw.Stride(), raw.pixels, 0, &tag);
    Trace::CurrentLane().Add(SpanKind::kRead, "read", id, begin, TraceStamp::Now());
    Push(std::move(frame));
    if (raw.framesPerSecond <= 0) continue;
    due += std::chrono::duration_cast<TraceLane::Clock::duration>(
        std::chrono::duration<double>(1 / raw.framesPerSecond));
    std::this_thread::sleep_until(due);
  }
}

// Waits inside while the buffer is full and the source blocks.
void ImageSource::Push(std::unique_ptr<CImageData> image) {
  AddImageToBuffer(image.release(), false);
  events_.Produce();
}

void ImageSource::Fail(const std::string& name, int code, const std::string& reason) {
  ImageReport failure;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    failure.id = static_cast<int>(names_.size()) - 1;
    failure.name = name;
    failure.errorCode = code;
    failure.errors.push_back({code, reason, {}, {}});
    failures_.push_back(std::move(failure));
  }
  events_.Produce();
}

int ImageSource::AddName(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  names_.push_back(name);
  return static_cast<int>(names_.size()) - 1;
}

bool ImageSource::IsStopped() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return isStopped_;
}

}  // namespace velmora::capture

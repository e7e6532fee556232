#include "tools/capture/image_source.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {

using namespace basic_structures;

ImageSource::ImageSource(Settings settings, Capture& capture)
    : settings_(std::move(settings)), capture_(capture) {
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
  if (settings_.drops) {
    if (CImageData* image = CImageSourceAdapter::GetImage()) return image;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (failures_.empty()) return nullptr;
    CImageData* failure = failures_.front().release();
    failures_.pop_front();
    return failure;
  }
  // The base hands out the newest first, and newer ones come while they are taken.
  if (taken_.empty()) {
    while (CImageData* image = CImageSourceAdapter::GetImage()) taken_.emplace_back(image);
    std::sort(taken_.begin(), taken_.end(), [](const auto& a, const auto& b) {
      return a->GetImageTag()->GetImageId() < b->GetImageTag()->GetImageId();
    });
  }
  if (taken_.empty()) return nullptr;
  CImageData* oldest = taken_.front().release();
  taken_.pop_front();
  return oldest;
}

CaptureError ImageSource::GetReadError(const CImageData& image) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return entries_.at(static_cast<std::size_t>(image.GetImageTag()->GetImageId())).error;
}

bool ImageSource::GetReadMoments(const CImageData& image, RunMoment& begin, RunMoment& end) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Entry& entry = entries_.at(static_cast<std::size_t>(image.GetImageTag()->GetImageId()));
  begin = entry.readBegin;
  end = entry.readEnd;
  return true;
}

std::string ImageSource::GetName(int imageId) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return entries_.at(static_cast<std::size_t>(imageId)).name;
}

void ImageSource::Run() {
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
  capture_.NotifySource();
}

void ImageSource::ReadPicture(const std::string& file) {
  const int id = AddName(file);
  const RunMoment begin = RunMoment::Now();
  LoadedImage loaded = LoadImageFile(file, id);
  SetReadMoments(id, begin);
  if (loaded.image == nullptr) {
    Fail(id, {loaded.code, loaded.reason, {}, {}});
  } else {
    Push(std::move(loaded.image));
  }
}

void ImageSource::ReadFrames(const std::string& file) {
  const RawFormat& raw = settings_.raw;
  LoadedImage failure;
  const File in = OpenToRead(file, failure);
  if (in == nullptr) {
    return Fail(AddName(file), {failure.code, failure.reason, {}, {}});
  }
  std::vector<unsigned char> bytes(raw.FrameBytes());
  auto due = std::chrono::steady_clock::now();
  for (int number = 0; !IsStopped(); ++number) {
    const RunMoment begin = RunMoment::Now();
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), in.get());
    if (count == 0 && number > 0) return;
    const std::string name = file + "#" + std::to_string(number);
    const int id = AddName(name);
    if (count < bytes.size())
      return Fail(id, {EC_ImageReadFailed, "the file ends within the frame", {}, {}});
    CVideoFrameTag tag(VideoFrameQuality{}, false, nullptr, raw.width, raw.height, 0);
    tag.SetImageId(id);
    auto frame = std::make_unique<CImageData>(bytes.size(), bytes.data(), raw.width, raw.height,
                                              raw.Stride(), raw.pixels, 0, &tag);
    SetReadMoments(id, begin);
    Push(std::move(frame));
    if (raw.framesPerSecond <= 0) continue;
    due += std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(1 / raw.framesPerSecond));
    std::this_thread::sleep_until(due);
  }
}

// Waits inside while the buffer is full and the source blocks.
void ImageSource::Push(std::unique_ptr<CImageData> image) {
  AddImageToBuffer(image.release(), false);
  capture_.NotifySource();
}

// Takes the place of an image, without pixels.
void ImageSource::Fail(int id, const CaptureError& error) {
  CFileImageTag tag(nullptr, 0, 1);
  tag.SetImageId(id);
  auto image = std::make_unique<CImageData>();
  image->SetImageTag(&tag);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_[static_cast<std::size_t>(id)].error = error;
    if (settings_.drops) failures_.push_back(std::move(image));
  }
  if (image != nullptr) return Push(std::move(image));
  capture_.NotifySource();
}

int ImageSource::AddName(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  entries_.push_back({name, {}, {}, {}});
  return static_cast<int>(entries_.size()) - 1;
}

void ImageSource::SetReadMoments(int id, const RunMoment& begin) {
  const RunMoment end = RunMoment::Now();
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = entries_[static_cast<std::size_t>(id)];
  entry.readBegin = begin;
  entry.readEnd = end;
}

bool ImageSource::IsStopped() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return isStopped_;
}

}  // namespace velmora::capture

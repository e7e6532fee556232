#include "velmora_capture/capture.h"

#include <utility>

#include "velmora_capture/internal/capture_engine.h"
#include "velmora_capture/internal/json_memory.h"

namespace velmora::capture {

Capture::Capture(std::unique_ptr<CaptureEngine> engine) : engine_(std::move(engine)) {}

Capture::~Capture() = default;

std::unique_ptr<Capture> Capture::Create(const std::string& templateText,
                                         const CaptureOptions& options,
                                         std::vector<TemplateError>& errors) {
  auto engine = std::make_unique<CaptureEngine>(options);
  if (!WithJson([&] { return engine->Prepare(templateText, errors); })) return nullptr;
  return std::unique_ptr<Capture>(new Capture(std::move(engine)));
}

NxRef<CaptureResult> Capture::Read(const basic_structures::CImageData& image) {
  return engine_->Read(image);
}

NxRef<CaptureResult> Capture::ReadFile(const std::string& path) {
  return engine_->ReadFile(path);
}

int Capture::Run(basic_structures::CImageSourceAdapter& source, const Handler& handler,
                 const RunOptions& options) {
  return engine_->Run(source, handler, options);
}

void Capture::NotifySource() {
  engine_->NotifySource();
}

int Capture::Submit(std::unique_ptr<basic_structures::CImageData> image, Handler handler,
                    int waitMs) {
  return engine_->Submit(std::move(image), std::move(handler), waitMs);
}

void Capture::Cancel() {
  engine_->Cancel();
}

CaptureStatistics Capture::GetStatistics() const {
  return engine_->GetStatistics();
}

std::vector<StageTime> Capture::GetStageTimes() const {
  return engine_->GetTrace().GetStageTimes();
}

int Capture::GetThreadCount() const {
  return engine_->GetThreadCount();
}

const std::vector<std::string>& Capture::GetNotes() const {
  return engine_->GetNotes();
}

void Capture::WriteTrace(std::ostream& out) const {
  engine_->GetTrace().WriteJson(out);
}

std::string Capture::GetGraphDot() const {
  return engine_->GetGraphDot();
}

}  // namespace velmora::capture

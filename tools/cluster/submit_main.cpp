// velmora-submit: makes jobs of pictures and sends them to a message broker.

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/capture/inputs.h"
#include "tools/capture/options.h"
#include "tools/capture/output_file.h"
#include "tools/capture/program.h"
#include "tools/capture/progress.h"
#include "tools/capture/system.h"
#include "tools/capture/text.h"
#include "tools/cluster/job_runner.h"
#include "tools/cluster/submit_options.h"
#include "tools/cluster/submitter.h"
#include "tools/cluster/template_text.h"

namespace {

using namespace velmora::capture;
using namespace velmora::cluster;

constexpr std::int64_t kMaxFileBytes = std::int64_t{1} << 32;  // a worker's limit is its pixels'

class Submission {
 public:
  explicit Submission(const SubmitOptions& options)
      : options_(options), text_(ReadTemplate(options.templateFile)) {
    Options inputs;
    inputs.inputs = options.inputs;
    inputs.endsNamesWithNul = options.endsNamesWithNul;
    std::vector<std::string> notes;
    files_ = ExpandInputs(inputs, notes);
    for (const std::string& note : notes) Note(note);
    if (options.deadlineSeconds > 0) {
      const auto end =
          std::chrono::system_clock::now() + std::chrono::seconds(options.deadlineSeconds);
      deadline_ =
          std::chrono::duration_cast<std::chrono::milliseconds>(end.time_since_epoch()).count();
    }
  }

  ExitStatus Run() {
    progress_ = std::make_unique<ProgressBar>(static_cast<int>(files_.size()), !options_.isQuiet);
    const std::unique_ptr<JobQueue> queue = OpenJobQueue(options_.queue);
    Submitter submitter(*queue, stop_,
                        {[this](const Job& job) { OnConfirmed(job); },
                         [this](const std::string& sentence) { OnTrouble(sentence); }});
    const InterruptWatch watch([this] { stop_.Set(); });
    const bool isComplete = submitter.Run([this](Job& job) { return NextJob(job); });
    progress_->Clear();
    if (!options_.isQuiet) {
      std::cerr << Count(confirmed_, "job") << " of "
                << Count(static_cast<int>(files_.size()), "file") << " submitted"
                << (failed_ > 0 ? ", " + std::to_string(failed_) + " failed" : "")
                << (isComplete ? "" : "; interrupted") << "\n";
    }
    return isComplete && failed_ == 0 ? kAllRead : kSomeFailed;
  }

 private:
  // The next file that can be read.
  bool NextJob(Job& job) {
    while (next_ < files_.size()) {
      const std::string& file = files_[next_++];
      try {
        const std::vector<unsigned char> bytes = ReadImageBytes(file, kMaxFileBytes);
        job.image = ImageOfPath(file);
        job.sha256 = Sha256({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        job.templateName = text_.name;
        job.templateHash = text_.hash;
        job.priority = options_.priority;
        job.deadline = deadline_;
        job.id = DeriveJobId(job);
        ParseJob(FormatJob(job));  // no worker would take one that fails
        return true;
      } catch (const std::exception& error) {
        ++failed_;
        Complain(error.what());
      }
    }
    return false;
  }

  void OnConfirmed(const Job& job) {
    ++confirmed_;
    trouble_.clear();
    if (options_.listsJobs) {
      progress_->Clear();
      WriteStandardOutput(job.id + "\t" + job.image + "\n");
    }
    progress_->Show(confirmed_ + failed_);
  }

  // Told once, however many tries it lasts.
  void OnTrouble(const std::string& sentence) {
    if (sentence != trouble_) Complain(sentence);
    trouble_ = sentence;
  }

  void Complain(const std::string& sentence) {
    progress_->Clear();
    std::cerr << "velmora-submit: " << Printable(sentence) << "\n";
  }

  void Note(const std::string& note) const {
    if (!options_.isQuiet) std::cerr << "note: " << note << "\n";
  }

  const SubmitOptions& options_;
  const TemplateText text_;
  std::vector<std::string> files_;
  std::size_t next_ = 0;
  std::int64_t deadline_ = 0;
  StopSignal stop_;
  std::unique_ptr<ProgressBar> progress_;
  std::string trouble_;  // what was told last, unless it is over
  int confirmed_ = 0;
  int failed_ = 0;
};

int Run(const std::vector<std::string>& arguments) {
  const SubmitOptions options = ParseSubmitOptions(arguments);
  if (options.help) {
    WriteStandardOutput(GetSubmitHelp());
    return kAllRead;
  }
  if (options.version) {
    WriteVersion("velmora-submit");
    return kAllRead;
  }
  return Submission(options).Run();
}

}  // namespace

int main(int argc, char** argv) {
  return RunMain("velmora-submit", argc, argv, Run);
}

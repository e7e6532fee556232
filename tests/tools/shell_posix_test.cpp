// What only a shell can do to the program: devices, pipes and signals.
#include "tests/tools/capture_run.h"
#include "tools/capture/system.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;

// A script of bash with the program as $CAPTURE, signals as at a terminal, and an empty folder
// $DIR. Its functions wait until a file holds a text, so that no case hangs on how fast the program
// is.
CaptureRun RunScript(const TemporaryDirectory& folder, const std::string& script) {
  const std::string preamble =
      "set -o pipefail; export LC_ALL=C\n"
      "CAPTURE='env --default-signal=INT,TERM " VELMORA_CAPTURE_PROGRAM
      " --template=templates/linear.json'\n"
      "PROGRAM=" VELMORA_CAPTURE_PROGRAM " MODULES=" VELMORA_TEST_MODULES
      " HELP=" VELMORA_CAPTURE_HELP "\nexport CAPTURE DIR='" +
      folder.GetPath().string() +
      "'\n"
      "until_in() { for i in {1..500}; do grep -qs \"$1\" \"$2\" && return; sleep 0.02; done; }\n";
  std::ofstream(folder / "script") << preamble << script << "\n";
  CaptureRun run;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  run.status = RunProgram({"timeout", "60", "bash", folder / "script"});
  run.out = ::testing::internal::GetCapturedStdout();
  run.err = ::testing::internal::GetCapturedStderr();
  return run;
}

struct Row {
  const char* name;
  const char* script;
  int status;
  const char* out;
  const char* err;
};

void RunRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const TemporaryDirectory folder;
    ExpectRun(RunScript(folder, row.script), row.status, row.out, row.err);
  }
}

TEST(Outputs, ThatCannotBeWrittenEndTheRun) {
  RunRows({
      {"a full disk", "$CAPTURE samples/qr.png >/dev/full", 1, "",
       "velmora-capture: standard output cannot be written: No space left on device\n"},
      {"help on a full disk", "$CAPTURE --help >/dev/full", 1, "", "No space left"},
      {"a closed stream",
       "$CAPTURE --trace \"$DIR/t\" samples/qr.png >&-; s=$?; cat \"$DIR/t\"; exit $s", 1, "",
       "standard output cannot be written: Bad file descriptor"},
      {"a pipe without a reader",
       "mkfifo \"$DIR/p\"; exec 3<>\"$DIR/p\" 4>\"$DIR/p\" 3<&-; $CAPTURE samples/qr.png >&4", 1,
       "", "standard output cannot be written: Broken pipe"},
      {"an overlay",
       "ln -s /dev/full \"$DIR/0000-qr.png.svg\"; $CAPTURE --overlay \"$DIR\" samples/qr.png", 1,
       "samples/qr.png", "0000-qr.png.svg' cannot be written: No space left on device"},
      {"an intermediate file",
       "ln -s /dev/full \"$DIR/0000-000-candidates-locate.png\"\n"
       "$CAPTURE --threads=1 --intermediate \"$DIR\" samples/qr.png",
       1, "", "the intermediate file '"},
      {"the trace", "$CAPTURE --trace /dev/full samples/qr.png", 1, "1 image, 1 read",
       "the trace '/dev/full' cannot be written"},
      {"the report", "$CAPTURE --report /dev/full samples/qr.png", 1, "samples/qr.png",
       "the report '/dev/full'"},
      {"a disk of 64 KiB, or files that may not be larger",
       "mkdir \"$DIR/o\"; run() { $CAPTURE --overlay \"$DIR/o\" samples/label.jpg; }; export -f "
       "run\n"
       "disk='mount -t tmpfs -o size=64k none'; export disk\n"
       "if unshare -m $disk \"$DIR/o\" 2>/dev/null; then unshare -m bash -c '$disk \"$DIR/o\"; "
       "run'\n"
       "else ulimit -f 64; run; fi",
       1, "label.jpg", "0000-label.jpg.svg' cannot be written: "},
      {"a file that may not be larger",
       "ulimit -f 8; $CAPTURE --report \"$DIR/r\" samples/label.jpg", 1, "label.jpg",
       "/r' cannot be written: File too large"},
      {"a folder that vanishes",
       "mkfifo \"$DIR/p.png\"; $CAPTURE --overlay \"$DIR/o\" samples/qr.png \"$DIR/p.png\" &\n"
       "until_in '</svg>' \"$DIR/o/0000-qr.png.svg\"; rm -r \"$DIR/o\"\n"
       "cat samples/qr.png >\"$DIR/p.png\"; wait $!",
       1, "p.png", "0001-p.png.svg' cannot be written: No such file or directory"},
      {"a log without its folder",
       "printf '[BARCODECONFIG]\\nPath=/no/such/\\nLevel=9\\nMode=2\\n' >\"$DIR/l\"\n"
       "$CAPTURE --log-config \"$DIR/l\" samples/qr.png",
       1, "1 image, 1 read", "velmora-capture: the log cannot be written"},
      {"a log kept in memory, without its folder",
       "printf '[BARCODECONFIG]\\nPath=/no/such/\\nLevel=9\\nMode=2\\nOutputMode=1\\n' "
       ">\"$DIR/l\"\n"
       "$CAPTURE --log-config \"$DIR/l\" samples/qr.png",
       1, "1 image, 1 read", "velmora-capture: the log cannot be written"},
      {"at once",
       "$CAPTURE --json $(for i in {1..300}; do echo samples/none.jpg; done) >/dev/full "
       "--trace \"$DIR/t\"; s=$?; ls \"$DIR\"; exit $s",
       1, "script", "No space left"},
  });
}

TEST(Inputs, MayBeAnything) {
  RunRows({
      {"what a program writes", "$CAPTURE <(cat samples/qr.png)", 0, ": 209x209, 1 code", ""},
      {"a pipe by name", "mkfifo \"$DIR/p\"; cat samples/qr.png >\"$DIR/p\" & $CAPTURE \"$DIR/p\"",
       0, ": 209x209, 1 code", ""},
      {"pipes in directories",
       "mkfifo \"$DIR/a.png\"; cp samples/qr.png \"$DIR\"; $CAPTURE \"$DIR\"", 0,
       "1 image, 1 read, 0 failed", ""},
      {"a directory that cannot be read, among others",
       "cp samples/qr.png \"$DIR\"\n"
       "(cd \"$DIR\"; n=$(printf 'd%.0s' {1..200}); for i in {1..25}; do mkdir $n; cd -P $n; "
       "done)\n"
       "$CAPTURE \"$DIR\"; s=$?; rm -r \"$DIR\"/d*; exit $s",
       1, "2 images, 1 read, 1 failed", "File name too long (-10012)"},
      {"names with line ends", "$CAPTURE $'no\\nsuch\\e[31m.png'", 1, "1 image, 0 read",
       "no\\x0asuch\\x1b[31m.png: The file is not found. (-10005)\n"},
      {"frames on standard input", "head -c 30000 /dev/zero | $CAPTURE --raw 50x100:rgb -", 0,
       "-#1: 50x100, no code\n2 images", ""},
      {"frames in a directory",
       "mkdir \"$DIR/d\"; head -c 30000 /dev/zero >\"$DIR/d/x\"; $CAPTURE --raw 50x100:rgb "
       "\"$DIR/d\"",
       0, "/d/x#1: 50x100, no code\n2 images", ""},
  });
}

#if defined(__has_feature)
#define VELMORA_HAS_FEATURE(name) __has_feature(name)
#else
#define VELMORA_HAS_FEATURE(name) 0
#endif
#if !VELMORA_HAS_FEATURE(address_sanitizer) && !VELMORA_HAS_FEATURE(thread_sanitizer)
// The sanitizers reserve more than any limit. The file is 32 MB of holes, its pixels are 256 MB.
TEST(Memory, MayBeTooSmallForOnePicture) {
  RunRows({
      {"decoded",
       "printf 'P4 16000 16000\n' >\"$DIR/big\"; truncate -s 32000015 \"$DIR/big\"\n"
       "ulimit -v 450000; $CAPTURE --threads=1 \"$DIR/big\" samples/qr.png",
       1, "samples/qr.png: 209x209, 1 code",
       "/big: Not enough memory to perform operation. (-10001)"},
      {"of the file",
       "printf 'P5 20000 13000 1\n' >\"$DIR/big\"; truncate -s 260000017 \"$DIR/big\"\n"
       "ulimit -v 450000; $CAPTURE --threads=1 \"$DIR/big\" samples/qr.png",
       1, "samples/qr.png: 209x209, 1 code",
       "/big: Not enough memory to perform operation. (-10001)"},
  });
}
#endif

// Made from --help: every option has its place in both.
TEST(Help, BecomesManualPageAndCompletion) {
  RunRows({
      {"an option for each item",
       "$CAPTURE --help | sed -nE 's/^  (\\S+( [A-Zx:a-z.]+)?)  .*/\\1/p' >\"$DIR/a\"; "
       "sed -nE 's/^.fB(.*).fR$/\\1/; T; s/\\\\//g; p' $HELP/velmora-capture.1 >\"$DIR/b\"\n"
       "wc -l <\"$DIR/a\"; diff \"$DIR/a\" \"$DIR/b\" && echo same",
       0, "\nsame\n", ""},
      {"words",
       "source $HELP/velmora-capture.bash\n"
       "complete_it() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _velmora_capture; echo "
       "\"${COMPREPLY[@]}\"; }\n"
       "complete_it capture --ti; complete_it capture --overflow ''; complete_it capture --threads "
       "'';"
       "complete_it capture --overlay sampl; complete_it capture samples/lab; complete_it capture "
       "-0",
       0, "--timeout\nblock drop\n\nsamples\nsamples/label.jpg\n-0\n", ""},
  });
}

// As docs/video.md says: two seconds with a code, one without, at ten frames a second; five of each
// second are read.
TEST(Film, ComesThroughAPipe) {
  if (RunProgram({"bash", "-c", "command -v ffmpeg >/dev/null"}) != 0) {
    GTEST_SKIP() << "ffmpeg is not installed";
  }
  const TemporaryDirectory folder;
  const CaptureRun run = RunScript(
      folder,
      "ffmpeg -v error -loop 1 -framerate 10 -t 2 -i samples/qr.png -loop 1 -framerate 10 -t 1 -i "
      "samples/none.jpg -filter_complex '[0]scale=320:320[a];[1]scale=320:320[b];[a][b]concat' "
      "-c:v ffv1 \"$DIR/film.mkv\"\n"
      "ffmpeg -v error -i \"$DIR/film.mkv\" -vf fps=5,scale=320:240 -pix_fmt nv12 -f rawvideo - |\n"
      "  $CAPTURE --json --raw 320x240:nv12 -");
  ExpectRun(run, 0, "\"image\":\"-#14\"", "frames: 15 played, 15 captured, 0 dropped\n");
  std::string found;
  for (const Json::Value& report : run.Reports()) found += report["codes"].empty() ? '-' : '#';
  EXPECT_EQ(found, "##########-----");
}

TEST(Interrupts, EndTheRunAndTellWhatIsThere) {
  RunRows({
      {"a pipe without a writer",
       "mkfifo \"$DIR/p.png\"\n"
       "$CAPTURE --trace \"$DIR/t\" --graph \"$DIR/g\" --overlay \"$DIR\" samples/qr.png "
       "\"$DIR/p.png\" "
       ">\"$DIR/out\" & until_in qr.png \"$DIR/out\"; kill -TERM $!; wait $!; s=$?\n"
       "cat \"$DIR/out\"; grep -c traceEvents \"$DIR/t\"; ls \"$DIR\"; exit $s",
       1, "1 image, 1 read, 0 failed, 1 code; ", ""},
      {"a camera that is silent",
       "mkfifo \"$DIR/cam\"; exec 3<>\"$DIR/cam\"; head -c 15000 /dev/zero >&3\n"
       "$CAPTURE --raw 50x100:rgb \"$DIR/cam\" >\"$DIR/out\" & until_in cam#0 \"$DIR/out\"\n"
       "kill -INT $!; wait $!; s=$?; cat \"$DIR/out\"; exit $s",
       1, "; interrupted\nframes: 1 played, 1 captured, 0 dropped\n", ""},
      {"twice, while its output is blocked",
       "mkfifo \"$DIR/p\"; exec 3<>\"$DIR/p\"; head -c 65536 /dev/zero >&3\n"
       "$CAPTURE samples/qr.png >&3 & until_in pipe_write /proc/$!/wchan\n"
       "for i in {1..500}; do kill -INT $! 2>/dev/null || break; sleep 0.02; done; wait $!",
       130, "", ""},
      {"a module that never returns: not by its time budget, nor by the first",
       "mkdir \"$DIR/bin\"; cp $PROGRAM $MODULES/first/Endless.so \"$DIR/bin\"\n"
       "ln -s \"${PROGRAM%/bin/*}/lib\" \"$DIR\"\n"
       "echo "
       "'{\"Name\":\"t\",\"TimeoutMs\":50,\"Definitions\":[{\"Name\":\"d\",\"Tasks\":[{\"Name\":"
       "\"e\",\"Module\":\"Endless\",\"Output\":true}]}]}' >\"$DIR/t\"\n"
       "env --default-signal=INT \"$DIR/bin/velmora-capture\" --template \"$DIR/t\" samples/qr.png "
       "2>\"$DIR/e\" & until_in endless \"$DIR/e\"\n"
       "sleep 0.3; kill -INT $!; sleep 0.3; kill -INT $! && echo it waits; wait $!",
       130, "it waits\n", ""},
      {"a watched directory",
       "$CAPTURE --watch \"$DIR\" >\"$DIR/out\" & sleep 0.3\n"
       "until grep -qs 1.code \"$DIR/out\"; do : >\"$DIR/new.png\"; sleep 0.7; cp samples/qr.png "
       "\"$DIR/new.png\"; sleep 0.7; done\n"
       "kill -TERM $!; wait $!; s=$?; cat \"$DIR/out\"; exit $s",
       0, "new.png: 209x209, 1 code\n", ""},
  });
}

}  // namespace
}  // namespace velmora::capture

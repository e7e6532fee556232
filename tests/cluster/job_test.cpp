// Messages may come from anywhere: what is taken, what is refused, and with which words.
#include "tools/cluster/job.h"

#include "tests/support/test.h"

namespace velmora::cluster {
namespace {

const std::string kHash(64, 'a');

Job MakeJob() {
  Job job;
  job.id = "0-a_B.9";
  job.image = "/pictures/a \"b\"\n\xC3\xA4.png";
  job.sha256 = kHash;
  job.templateName = "default";
  job.templateHash = std::string(64, '0');
  job.priority = 2;
  job.deadline = 1'900'000'000'123;
  return job;
}

// What is wrong with a message; empty if nothing is.
std::string FaultOf(const std::string& message) {
  try {
    ParseJob(message);
    return {};
  } catch (const JobError& error) {
    return error.what();
  }
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(Job, SurvivesTheMessage) {
  const Job job = MakeJob();
  const std::string message = FormatJob(job);
  EXPECT_EQ(message.find('\n'), std::string::npos);
  EXPECT_EQ(FormatJob(ParseJob(message)), message);
  EXPECT_EQ(ParseJob(message).image, job.image);
  EXPECT_EQ(ParseJob(message).deadline, job.deadline);
}

TEST(Job, RefusesWhatIsNoJob) {
  const std::string good = FormatJob(MakeJob());
  const auto with = [&](const char* from, const std::string& to) {
    return Replaced(good, from, to);
  };
  struct Row {
    const char* name;
    std::string message;
    const char* part;  // of the sentence
  };
  const std::string open(5000, '[');
  for (const Row& row : {
           Row{"nothing", "", "no JSON object"},
           Row{"an array", "[1]", "no JSON object"},
           Row{"many brackets", "{\"id\":" + open + std::string(5000, ']') + "}", "no JSON object"},
           Row{"a rest", good + " {}", "no JSON object"},
           Row{"a key twice", with("\"id\":", "\"id\":\"x\",\"id\":"), "no JSON object"},
           Row{"too long", good + std::string(kMaxJobBytes, ' '), "the limit is 16384"},
           Row{"another version", with("\"version\":1", "\"version\":2"),
               "\"version\" is no number"},
           Row{"an unknown key", with("\"id\":", "\"pixels\":\"\",\"id\":"), "'pixels'"},
           Row{"no priority", with("\"priority\":2,", ""), "\"priority\" is missing"},
           Row{"a priority too many", with("\"priority\":2", "\"priority\":3"), "from 0 to 2"},
           Row{"a priority in text", with("\"priority\":2", "\"priority\":\"2\""), "from 0 to 2"},
           Row{"a broken number", with("1900000000123", "1.5"), "\"deadline\" is no number"},
           Row{"a deadline before 1970", with("1900000000123", "-1"), "\"deadline\" is no number"},
           Row{"a huge number", with("1900000000123", "18446744073709551617"), "\"deadline\""},
           Row{"an id that leaves its folder", with("0-a_B.9", "../x"), "\"id\""},
           Row{"an id that hides", with("0-a_B.9", ".x"), "\"id\""},
           Row{"a long id", with("0-a_B.9", std::string(129, 'x')), "\"id\""},
           Row{"a NUL in the path", with("/pictures", "/\\u0000"), "NUL"},
           Row{"a long path", with("/pictures", std::string(9000, 'x')), "the limit is 8192"},
           Row{"no path", with("/pictures/a ", "http://a"), "no path and no file URL"},
           Row{"a hash in capitals", with(kHash.c_str(), std::string(64, 'A')), "\"sha256\""},
           Row{"a short hash", with(kHash.c_str(), std::string(63, 'a')), "\"sha256\""},
           Row{"half a template's hash", with("000000000000", "0"), "\"template_sha256\""},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, row.part, FaultOf(row.message));
  }
}

TEST(Job, NamesFilesByPathOrUrl) {
  struct Row {
    const char* image;
    const char* path;  // null if it is refused
  };
  for (const Row& row : {
           Row{"a b%20.png", "a b%20.png"},
           Row{"file:///a%20b%2Fc%c3%A4", "/a b/c\xC3\xA4"},
           Row{"file://localhost/a", "/a"},
           Row{"file://elsewhere/a", nullptr},
           Row{"file://", nullptr},
           Row{"file:///a%2", nullptr},
           Row{"file:///a%zz", nullptr},
           Row{"file:///a%00b", nullptr},
           Row{"ftp://host/a", nullptr},
           Row{"", nullptr},
       }) {
    SCOPED_TRACE(row.image);
    std::string path;
    try {
      path = PathOfImage(row.image);
      EXPECT_NE(row.path, nullptr) << path;
    } catch (const JobError&) {
      EXPECT_EQ(row.path, nullptr);
      continue;
    }
    EXPECT_EQ(path, row.path == nullptr ? "" : row.path);
  }
  for (const char* path : {"/a b%/c", "/\xFF%41\n", "/a://b"}) {
    Job job = MakeJob();
    job.image = ImageOfPath(path);
    EXPECT_EQ(PathOfImage(ParseJob(FormatJob(job)).image),
              std::string(path) == "/a://b" ? "/a:/b" : path);
  }
}

// What may differ between two submits of one picture leaves the id alone; everything else changes
// it.
TEST(Job, DerivesItsId) {
  const Job job = MakeJob();
  const std::string id = DeriveJobId(job);
  EXPECT_TRUE(IsJobId(id));
  Job same = job;
  same.id = "y";
  same.priority = 0;
  same.deadline = 0;
  same.templateName = "other name";
  EXPECT_EQ(DeriveJobId(same), id);
  for (std::string Job::*member : {&Job::image, &Job::sha256, &Job::templateHash}) {
    Job other = job;
    (other.*member).back() = 'b';
    EXPECT_NE(DeriveJobId(other), id);
  }
  EXPECT_EQ(Sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

}  // namespace
}  // namespace velmora::cluster

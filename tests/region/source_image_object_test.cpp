#include "tests/region/kit.h"

namespace velmora {
namespace {

using basic_structures::CFileImageTag;
using basic_structures::CImageTag;
using basic_structures::CVideoFrameTag;
using testing::MakeImage;

constexpr CheckPointLevel kLevel = static_cast<CheckPointLevel>(3);

TEST(SourceImageObject, StopsForAnOpenTimePointOrASpentBudget) {
  struct Row {
    const char* name;
    int timePoint, timeout, first, second, errorCode;
    bool isTimeOut, stops;
  };
  NxDataManagerPool pool;
  for (const Row& r : {Row{"nothing charged", 0, 0, 0, 0, 77, false, false},
                       Row{"exactly spent", 0, 10, 4, 6, 77, false, false},
                       Row{"one more", 0, 10, 4, 7, EC_Timeout, true, true},
                       Row{"the sum wraps", 0, 10, INT_MAX, 1, 77, false, false},
                       Row{"open and spent", 1, 10, 11, 0, EC_Ok, true, true},
                       Row{"negative time point", -1, 10, 0, 0, 77, false, false}}) {
    SCOPED_TRACE(r.name);
    NxSourceImageObject source(nullptr, 1, r.timeout);
    source.AddTimeDuration(r.first);
    source.AddTimeDuration(r.second);
    pool.GetTaskEffectTimeManager()->SetTimePointToTaskEffect(r.timePoint);
    if (r.timePoint != 0) source.SetManagerPool(&pool);
    EXPECT_EQ(source.IsTimeOut(), r.isTimeOut);
    int errorCode = 77;
    EXPECT_EQ(source.IsCheckPointNeedExit(&errorCode, kLevel), r.stops);
    EXPECT_EQ(errorCode, r.errorCode);
    EXPECT_EQ(source.IsCheckPointNeedExit(nullptr, kLevel), r.stops);
  }
}

TEST(SourceImageObject, ReportsTheLastErrorAndKeepsThemAll) {
  NxSourceImageObject source(nullptr, 1, 10);
  EXPECT_EQ(source.GetErrorCode(), EC_Ok);
  EXPECT_EQ(source.GetHashID(), "") << "without an image";
  source.AddErrorCodeInfo(EC_Timeout, "a", "b", "c", "d");
  source.AddErrorCodeInfo(EC_Unknown, nullptr, "", nullptr, "fourth");
  EXPECT_EQ(source.GetErrorCode(), EC_Unknown);
  const std::vector<SourceImageErrorInfo> errors = source.GetErrorRecords();
  EXPECT_EQ(errors.at(0).texts, (std::array<std::string, 4>{"a", "b", "c", "d"}));
  EXPECT_EQ(errors.at(1).texts, (std::array<std::string, 4>{"", "", "", "fourth"}));
}

TEST(SourceImageObject, FilesARecordOfItsImageWithTheLog) {
  CFileImageTag fileTag("scans/page 1.png", 0, 1);
  fileTag.SetImageId(42);
  const CFileImageTag pathless(nullptr, 0, 1);
  CVideoFrameTag frameTag({}, false, nullptr, 2, 1, 0);
  frameTag.SetImageId(7);
  struct Row {
    const char* name;
    LogMode mode;
    int level;
    const CImageTag* tag;
    const char *id, *path;  // null: no record
  };
  for (const Row& r : {Row{"level 0", LM_Text, 0, &fileTag, nullptr, nullptr},
                       Row{"images only", LM_Image, 9, &fileTag, nullptr, nullptr},
                       Row{"file", LM_Text, 1, &fileTag, "42", "scans/page 1.png"},
                       Row{"no path", LM_Text, 1, &pathless, "-1", ""},
                       Row{"frame", LM_Text, 9, &frameTag, "7", ""},
                       Row{"no tag", LM_Text, 1, nullptr, "-1", ""}}) {
    SCOPED_TRACE(r.name);
    const testing::ScopedLog log(r.mode, r.level);
    const NxSourceImageObject source(MakeImage("ab", 2, 1, r.tag).get(), 1, 10);
    EXPECT_EQ(source.GetLogRecordNumber() != 0, r.id != nullptr);
    EXPECT_TRUE(NxLog::GetInstance().OutputJsonLog());
    std::string record;
    if (r.id != nullptr) {
      record = std::string("{\n\t\"HashId\" : \"BKDR_3105\",\n\t\"ImageId\" : ") + r.id +
               ",\n\t\"ImagePath\" : \"" + r.path + "\",\n\t\"Stages\" : []\n}\n";
    }
    EXPECT_EQ(log.Text(), record);
  }
}

TEST(SourceImageObject, CountsEveryChargeAndErrorOfManyThreads) {
  NxSourceImageObject source(MakeImage("ab", 2, 1).get(), 1, 3999);  // 'a' * 31 + 'b' is 3105
  const std::function<void()> charge = [&] { source.AddTimeDuration(1); };
  const std::function<void()> report = [&] {
    source.AddErrorCodeInfo(EC_Timeout, nullptr, nullptr, nullptr, nullptr);
  };
  const std::function<void()> ask = [&] { EXPECT_EQ(source.GetHashID(), "BKDR_3105"); };
  testing::CallTogether({charge, charge, ask, ask, [&] { source.IsTimeOut(); }});
  report();  // so that all find errors
  testing::CallTogether({report, report, [&] { source.GetErrorCode(); }});
  testing::CallTogether({report, [&] { source.GetErrorRecords(); }});
  constexpr int kCalls = testing::kCallsTogether;
  EXPECT_EQ(source.GetErrorRecords().size(), 1 + 3U * kCalls);
  source.AddTimeDuration(4000 - 2 * kCalls);
  EXPECT_EQ(source.GetElapsedTime(), 4000);
  for (const int level : {8, 9}) {
    const testing::ScopedLog log(LM_Text, level);
    EXPECT_TRUE(source.IsCheckPointNeedExit(nullptr, kLevel));
    EXPECT_EQ(log.Text().find("]timeout: 4000\n") != std::string::npos, level == 9);
  }
}

}  // namespace
}  // namespace velmora

#include "velmora/region/source_image_object.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/region/kit.h"
#include "tests/support/barrier.h"
#include "velmora/image/image_tag.h"

namespace velmora {
namespace {

using basic_structures::CFileImageTag;
using basic_structures::CImageTag;
using basic_structures::CVideoFrameTag;
using testing::MakeImage;
using testing::RunTogether;

constexpr CheckPointLevel kLevel = static_cast<CheckPointLevel>(3);

TEST(SourceImageObject, SharesItsImageAndTakesItsHashId) {
  const NxRef<NxImageData> image = MakeImage("ab", 2, 1);
  {
    const NxSourceImageObject source(image.get(), ~0ULL, 10);
    EXPECT_EQ(source.GetHashID(), "BKDR_3105");  // 'a' * 31 + 'b'
    EXPECT_EQ(source.GetImageId(), ~0ULL);
    EXPECT_EQ(source.GetImage(), image);
    EXPECT_EQ(image->GetReferenceCount(), 2);
  }
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_EQ(NxSourceImageObject(nullptr, 0, 0).GetHashID(), "");
}

TEST(SourceImageObject, IsOverBudgetOnceMoreThanTheTimeOutWasCharged) {
  struct Row {
    const char* name;
    int timeout, first, second;
    bool isTimeOut;
  };
  for (const Row& r :
       {Row{"nothing charged", 0, 0, 0, false}, Row{"exactly spent", 10, 4, 6, false},
        Row{"one more", 10, 4, 7, true}, Row{"negative time-out", -1, 0, 0, true},
        Row{"the sum wraps", 10, INT_MAX, 1, false}}) {
    SCOPED_TRACE(r.name);
    NxSourceImageObject source(nullptr, 1, r.timeout);
    source.AddTimeDuration(r.first);
    source.AddTimeDuration(r.second);
    EXPECT_EQ(source.IsTimeOut(), r.isTimeOut);
    int errorCode = 77;
    EXPECT_EQ(source.IsCheckPointNeedExit(&errorCode, kLevel), r.isTimeOut);
    EXPECT_EQ(errorCode, r.isTimeOut ? EC_Timeout : 77);
    EXPECT_EQ(source.IsCheckPointNeedExit(nullptr, kLevel), r.isTimeOut);
  }
}

TEST(SourceImageObject, ReportsTheLastErrorAndKeepsThemAll) {
  NxSourceImageObject source(nullptr, 1, 10);
  EXPECT_EQ(source.GetErrorCode(), EC_Ok);
  source.AddErrorCodeInfo(EC_Timeout, "definition", "task", nullptr, nullptr);
  source.AddErrorCodeInfo(EC_Unknown, nullptr, "", nullptr, "fourth");
  EXPECT_EQ(source.GetErrorCode(), EC_Unknown);

  const std::vector<SourceImageErrorInfo> errors = source.GetErrorRecords();
  ASSERT_EQ(errors.size(), 2U);
  EXPECT_EQ(errors[0].code, EC_Timeout);
  EXPECT_EQ(errors[0].texts, (std::array<std::string, 4>{"definition", "task", "", ""}));
  EXPECT_EQ(errors[1].texts, (std::array<std::string, 4>{"", "", "", "fourth"}));
}

TEST(SourceImageObject, FilesARecordOfItsImageWithTheLog) {
  CFileImageTag fileTag("scans/page \"1\".png", 0, 1);
  fileTag.SetImageId(42);
  const CFileImageTag pathless(nullptr, 0, 1);
  CVideoFrameTag frameTag({}, false, nullptr, 2, 1, 0);
  frameTag.SetImageId(7);
  struct Row {
    const char* name;
    LogMode mode;
    int level;
    const CImageTag* tag;
    const char* record;  // between the hash id and the stages; null for none
  };
  for (const Row& r :
       {Row{"log off", LM_None, 0, &fileTag, nullptr},
        Row{"level 0", LM_Text, 0, &fileTag, nullptr},
        Row{"images only", LM_Image, 9, &fileTag, nullptr},
        Row{"file", LM_Text, 1, &fileTag,
            "\"ImageId\" : 42,\n\t\"ImagePath\" : \"scans/page \\\"1\\\".png\""},
        Row{"no path", LM_Text, 1, &pathless, "\"ImageId\" : -1,\n\t\"ImagePath\" : \"\""},
        Row{"frame", LM_Text, 9, &frameTag, "\"ImageId\" : 7,\n\t\"ImagePath\" : \"\""},
        Row{"no tag", LM_Text, 1, nullptr, "\"ImageId\" : -1,\n\t\"ImagePath\" : \"\""}}) {
    SCOPED_TRACE(r.name);
    const testing::ScopedLog log(r.mode, r.level);
    const NxSourceImageObject source(MakeImage("ab", 2, 1, r.tag).get(), 1, 10);
    EXPECT_EQ(source.GetLogRecordNumber() != 0, r.record != nullptr);
    EXPECT_TRUE(NxLog::GetInstance().OutputJsonLog());
    const std::string filed = r.record == nullptr ? "" : r.record;
    EXPECT_EQ(log.Text(), filed.empty() ? ""
                                        : "{\n\t\"HashId\" : \"BKDR_3105\",\n\t" + filed +
                                              ",\n\t\"Stages\" : []\n}\n");
  }
}

TEST(SourceImageObject, LogsThatItStopsOnTimeOut) {
  NxSourceImageObject source(nullptr, 1, 10);
  source.AddTimeDuration(11);
  const testing::ScopedLog log(LM_Text, 9);
  source.IsCheckPointNeedExit(nullptr, kLevel);
  EXPECT_NE(log.Text().find("]timeout: 11\n"), std::string::npos) << log.Text();
}

TEST(SourceImageObject, CountsEveryChargeAndErrorOfManyThreads) {
  constexpr int kThreads = 8, kRounds = 500;
  const NxRef<NxImageData> image = MakeImage("ab", 2, 1);
  NxSourceImageObject source(image.get(), 1, kThreads * kRounds - 1);
  RunTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_EQ(source.GetHashID(), "BKDR_3105");
      source.AddErrorCodeInfo(EC_Timeout, "definition", "task", nullptr, nullptr);
      EXPECT_EQ(source.GetErrorCode(), EC_Timeout);
      source.IsCheckPointNeedExit(nullptr, kLevel);
      source.AddTimeDuration(1);
    }
  });
  EXPECT_EQ(source.GetElapsedTime(), kThreads * kRounds);
  EXPECT_TRUE(source.IsTimeOut());
  EXPECT_EQ(source.GetErrorRecords().size(), static_cast<std::size_t>(kThreads * kRounds));
}

}  // namespace
}  // namespace velmora

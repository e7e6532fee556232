#include "velmora/util/base64.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/virtual_slots.h"

namespace velmora {
namespace {

using Bytes = std::string;

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The slow obvious twin: anything but exactly a CBase64 goes by the virtual steps.
class BySteps : public CBase64 {};

unsigned char* Begin(std::string& bytes) {
  return reinterpret_cast<unsigned char*>(bytes.data());
}

std::string Encode(CBase64& codec, Bytes bytes) {
  const auto length = codec.Encode(Begin(bytes), static_cast<unsigned long>(bytes.size()));
  return {codec.EncodedMessage(), length};
}

Bytes Decode(CBase64& codec, std::string text) {
  codec.Decode(Begin(text), static_cast<unsigned long>(text.size()));
  unsigned long length = 0;
  const unsigned char* bytes = codec.DecodedMessage(&length);
  return {reinterpret_cast<const char*>(bytes), length};
}

// Codecs that decode never encode: that would let decoded bytes go unfreed.
class Base64 : public ::testing::Test {
 protected:
  void ExpectBothEncodeAlike(const Bytes& bytes) {
    ASSERT_EQ(Encode(encoder, bytes), Encode(stepEncoder, bytes))
        << ::testing::PrintToString(bytes);
  }
  void ExpectBothDecodeAlike(const std::string& text) {
    ASSERT_EQ(Decode(decoder, text), Decode(stepDecoder, text)) << ::testing::PrintToString(text);
    ASSERT_STREQ(decoder.EncodedMessage(), stepDecoder.EncodedMessage());
  }

  CBase64 encoder, decoder;
  BySteps stepEncoder, stepDecoder;
  CBase64* const encoders[2] = {&encoder, &stepEncoder};
  CBase64* const decoders[2] = {&decoder, &stepDecoder};
};

TEST_F(Base64, KnowsTheStandardsVectors) {
  struct Row {
    const char *bytes, *text;
  };
  for (const Row& row : {Row{"", ""}, Row{"f", "Zg=="}, Row{"fo", "Zm8="}, Row{"foo", "Zm9v"},
                         Row{"foob", "Zm9vYg=="}, Row{"fooba", "Zm9vYmE="}}) {
    SCOPED_TRACE(row.bytes);
    for (CBase64* codec : encoders) EXPECT_EQ(Encode(*codec, row.bytes), row.text);
    for (CBase64* codec : decoders) EXPECT_EQ(Decode(*codec, row.text), row.bytes);
    EXPECT_EQ(encoder.Encode(row.bytes), std::strlen(row.text));
  }
  EXPECT_EQ(Encode(encoder, Decode(decoder, kAlphabet)), kAlphabet);
}

TEST_F(Base64, DecodesLeniently) {
  struct Row {
    const char* name;
    std::string text;
    Bytes want;
  };
  for (const Row& row :
       {Row{"line break", "TWFu\r\nTWE=", "ManMa"}, Row{"high bit", "\xD4WFu", "Man"},
        Row{"no padding: one byte more than there is", "TQ", Bytes("M\0", 2)},
        Row{"padding inside takes a byte too", "TQ==TWFu", Bytes("M\0\0M", 4)},
        Row{"more padding than bytes", "=====", ""}}) {
    SCOPED_TRACE(row.name);
    for (CBase64* codec : decoders) EXPECT_EQ(Decode(*codec, row.text), row.want);
  }
}

TEST_F(Base64, DecodesEachCharacterByItsLowSevenBits) {
  for (int c = 0; c < 256; ++c) {
    SCOPED_TRACE(c);
    const bool isSkipped = c == ' ' || (c >= 7 && c <= 13);
    const bool isPadding = (c & 127) == '=';
    const std::size_t value = kAlphabet.find(static_cast<char>(c & 127));
    Bytes want(3, '\0');
    if (!isSkipped && !isPadding)
      want[2] = static_cast<char>(value == std::string::npos ? 0xFE & 63 : value);
    if (c == '=') want.pop_back();  // with its high bit set it is 0, but takes nothing away
    EXPECT_EQ(Decode(decoder, {'A', 'A', 'A', static_cast<char>(c)}), want);
  }
}

TEST_F(Base64, EncodesEveryShortInput) {
  for (int a = 0; a < 256; ++a) {
    const char first = static_cast<char>(a);
    ExpectBothEncodeAlike({first});
    for (int b = 0; b < 256; ++b) ExpectBothEncodeAlike({first, static_cast<char>(b)});
  }
  // All three-byte groups: one input of 256 groups for each pair of first bytes.
  for (int pair = 0; pair < 65536; ++pair) {
    Bytes bytes;
    for (int c = 0; c < 256; ++c)
      bytes += {static_cast<char>(pair >> 8), static_cast<char>(pair), static_cast<char>(c)};
    ExpectBothEncodeAlike(bytes);
    ASSERT_EQ(Decode(decoder, encoder.EncodedMessage()), bytes);
  }
}

TEST_F(Base64, DecodesEveryShortTextOfAwkwardCharacters) {
  const std::string awkward("AQz/+=\xBD\xD4\xFF\x80 \r\n\a\x06\x0E!-\0", 19);
  std::string text;
  // The number counts through all texts of 0 to 4 characters.
  for (std::size_t length = 0, count = 1; length <= 4; ++length, count *= awkward.size()) {
    for (std::size_t number = 0; number < count; ++number) {
      text.clear();
      for (std::size_t rest = number; text.size() < length; rest /= awkward.size())
        text += awkward[rest % awkward.size()];
      ExpectBothDecodeAlike(text);
    }
  }
}

TEST_F(Base64, AgreesOnLongTextsWithInterruptions) {
  std::mt19937 random(7);
  const std::string interruptions = " \r\n=\t!\x80";
  for (int round = 0; round < 2'000; ++round) {
    SCOPED_TRACE(round);
    Bytes bytes(random() % 1'600, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    ExpectBothEncodeAlike(bytes);
    std::string text = Encode(encoder, bytes);
    ASSERT_EQ(Decode(decoder, text), bytes);
    for (unsigned i = random() % 4; i > 0; --i)
      text.insert(random() % (text.size() + 1), 1, interruptions[random() % interruptions.size()]);
    ExpectBothDecodeAlike(text);
  }
}

TEST_F(Base64, ReusesItsTextBufferUntilItIsHandedOver) {
  for (CBase64* codec : encoders) {
    EXPECT_EQ(Encode(*codec, "foobar"), "Zm9vYmFy");
    const char* const buffer = codec->EncodedMessage();
    EXPECT_EQ(Encode(*codec, "Ma"), "TWE=");
    EXPECT_EQ(codec->EncodedMessage(), buffer);
    EXPECT_STREQ(buffer, "TWE=YmFy");

    char* const detached = codec->DetachMessage();
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(Encode(*codec, "Man"), "TWFu");  // in a new buffer
    std::free(detached);
    codec->ReleaseMem();
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
  }
}

TEST_F(Base64, EncodingLetsDecodedBytesGo) {
  for (CBase64* codec : decoders) {
    Decode(*codec, "TWFu");
    unsigned char* const bytes = const_cast<unsigned char*>(codec->DecodedMessage());
    EXPECT_EQ(Encode(*codec, "Ma"), "TWE=");
    unsigned long length = 1;
    EXPECT_EQ(codec->DecodedMessage(&length), nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(std::memcmp(bytes, "Man", 3), 0);
    std::free(bytes);
    EXPECT_EQ(Decode(*codec, "TWE="), "Ma");  // in a new buffer, however large the old one was
  }
}

TEST_F(Base64, FillsAndDecodesItsOwnBuffers) {
  const Bytes bytes(2'000, 'q');
  std::string text = Encode(encoder, bytes).insert(700, "\r\n");
  for (CBase64* codec : decoders) {
    codec->SetEncodeBuffer(Begin(text), static_cast<unsigned long>(text.size()));
    codec->Decode(codec->EncodedMessage());
    unsigned long length = 0;
    EXPECT_EQ(std::memcmp(codec->DecodedMessage(&length), bytes.data(), bytes.size()), 0);
    EXPECT_EQ(length, bytes.size());
    codec->SetDecodeBuffer(Begin(text), 800);
    EXPECT_EQ(std::memcmp(codec->DecodedMessage(&length), text.data(), 800), 0);
    EXPECT_EQ(length, 800U);
  }
}

TEST_F(Base64, TooMuchForItsLengthsIsNothingAsIsNull) {
  unsigned char bytes[1] = {};
  for (CBase64* codec : encoders) {
    EXPECT_EQ(codec->Encode(bytes, 0x80000000UL), 0U);
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    codec->SetDecodeBuffer(bytes, 0xFFFFFFFFUL);
    EXPECT_EQ(codec->DecodedMessage(), nullptr);
    EXPECT_EQ(codec->Encode(nullptr, 3), 0U);
    EXPECT_EQ(codec->Encode(nullptr), 0U);
    codec->Decode(nullptr);
  }
}

// The URL-safe alphabet without line breaks being skipped, as a client might make it.
class UrlSafe : public CBase64 {
 protected:
  void _EncodeToBuffer(const TempBucket& bytes, unsigned char* dest) override {
    CBase64::_EncodeToBuffer(bytes, dest);
    for (int i = 0; i < 4; ++i) dest[i] = dest[i] == '+' ? '-' : dest[i] == '/' ? '_' : dest[i];
  }
  int _IsBadMimeChar(unsigned char c) override { return c == '.' ? 1 : 0; }
};

TEST(Base64Steps, MayBeChangedByADerivedClass) {
  UrlSafe codec;
  EXPECT_EQ(Encode(codec, "\xFB\xFF\xFE"), "-__-");
  EXPECT_EQ(Decode(codec, "T.WFu"), "Man");
  EXPECT_NE(Decode(codec, "T WFu"), "Man");
}

TEST(Base64Steps, FollowTheAgreedOrderOfSlots) {
  using testing::SlotOf;
  struct Steps : CBase64 {
    static std::vector<int> Slots() {
      return {SlotOf<unsigned long (CBase64::*)(const char*)>(&CBase64::Encode),
              SlotOf<void (CBase64::*)(const char*)>(&CBase64::Decode),
              SlotOf<const unsigned char* (CBase64::*)() const>(&CBase64::DecodedMessage),
              SlotOf(&CBase64::EncodedMessage),
              SlotOf(&CBase64::AllocEncode),
              SlotOf(&CBase64::SetDecodeBuffer),
              SlotOf(&Steps::_EncodeToBuffer),
              SlotOf(&Steps::_DecodeToBuffer),
              SlotOf(&Steps::_EncodeRaw),
              SlotOf(&Steps::_DecodeRaw),
              SlotOf(&Steps::_IsBadMimeChar),
              testing::CountVirtualOperations<CBase64>()};
    }
  };
  EXPECT_EQ(Steps::Slots(), (std::vector<int>{1, 3, 5, 7, 8, 11, 12, 13, 14, 15, 16, 17}));
}

}  // namespace
}  // namespace velmora

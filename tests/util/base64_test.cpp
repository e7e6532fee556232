#include "velmora/util/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/virtual_slots.h"

namespace velmora {
namespace {

using Bytes = std::string;

// The slow obvious twins, written from the rules alone.

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string SlowEncode(const Bytes& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
    unsigned bits = 0;
    for (std::size_t k = 0; k < 3; ++k)
      bits = bits * 256 + (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0);
    for (std::size_t k = 0; k < 4; ++k)
      text += k <= count ? kAlphabet[bits >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

unsigned SlowValue(char c) {
  const auto found = kAlphabet.find(static_cast<char>(c & 0x7F));
  if (found != std::string::npos) return static_cast<unsigned>(found);
  return (c & 0x7F) == '=' ? 0xFF : 0xFE;
}

Bytes SlowDecode(const std::string& text) {
  std::string kept;
  for (const char c : text)
    if (std::string("\a\b\t\n\v\f\r ").find(c) == std::string::npos) kept += c;
  Bytes bytes;
  for (std::size_t i = 0; i < kept.size(); i += 4) {
    const std::size_t count = std::min<std::size_t>(kept.size() - i, 4);
    unsigned v[4] = {};
    for (std::size_t k = 0; k < count; ++k) {
      v[k] = SlowValue(kept[i + k]);
      if (v[k] == 0xFF && (count < 4 || k >= 2)) v[k] = 0;
    }
    const char group[] = {static_cast<char>(v[0] << 2 | (v[1] >> 4 & 3)),
                          static_cast<char>(v[1] << 4 | (v[2] >> 2 & 15)),
                          static_cast<char>(v[2] << 6 | (v[3] & 63))};
    bytes.append(group, std::min<std::size_t>(count, 3));
  }
  const auto paddings = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  return bytes.substr(0, bytes.size() - std::min(paddings, bytes.size()));
}

// Anything but exactly a CBase64 goes by the virtual steps.
class ByVirtualSteps : public CBase64 {};

unsigned char* Begin(Bytes& bytes) {
  return reinterpret_cast<unsigned char*>(&bytes[0]);
}

unsigned long Size(const Bytes& bytes) {
  return static_cast<unsigned long>(bytes.size());
}

std::string Encode(CBase64& codec, Bytes bytes) {
  const unsigned long length = codec.Encode(Begin(bytes), Size(bytes));
  return {codec.EncodedMessage(), length};
}

Bytes Decoded(const CBase64& codec) {
  unsigned long length = 1;
  const unsigned char* const bytes = codec.DecodedMessage(&length);
  return {reinterpret_cast<const char*>(bytes), length};
}

Bytes Decode(CBase64& codec, std::string text) {
  codec.Decode(Begin(text), Size(text));
  return Decoded(codec);
}

// Both ways of both directions against the twins. Codecs that decode never encode: that would let
// decoded bytes go unfreed.
class Base64 : public ::testing::Test {
 protected:
  void ExpectEncoded(const Bytes& bytes) {
    for (CBase64* codec : encoders_)
      ASSERT_EQ(Encode(*codec, bytes), SlowEncode(bytes)) << ::testing::PrintToString(bytes);
  }

  void ExpectDecoded(const std::string& text) {
    for (CBase64* codec : decoders_)
      ASSERT_EQ(Decode(*codec, text), SlowDecode(text)) << ::testing::PrintToString(text);
    ASSERT_EQ(std::strcmp(decoder_.EncodedMessage(), slowDecoder_.EncodedMessage()), 0);
  }

  CBase64 encoder_, decoder_;
  ByVirtualSteps slowEncoder_, slowDecoder_;
  const std::vector<CBase64*> encoders_ = {&encoder_, &slowEncoder_};
  const std::vector<CBase64*> decoders_ = {&decoder_, &slowDecoder_};
};

TEST_F(Base64, EncodesByTheStandardAndDecodesLeniently) {
  struct Row {
    const char* name;
    Bytes bytes;
    std::string text;
    bool isStandard;
  };
  for (const Row& row :
       {Row{"nothing", "", "", true}, Row{"one byte", "f", "Zg==", true},
        Row{"two bytes", "fo", "Zm8=", true}, Row{"three bytes", "foo", "Zm9v", true},
        Row{"and one", "foob", "Zm9vYg==", true}, Row{"and two", "fooba", "Zm9vYmE=", true},
        Row{"two groups", "foobar", "Zm9vYmFy", true},
        Row{"line break", "ManMa", "TWFu\r\nTWE=", false}, Row{"high bit", "Man", "\xD4WFu", false},
        Row{"no padding: one byte more than there is", Bytes("M\0", 2), "TQ", false},
        Row{"padding inside takes a byte too", Bytes("M\0\0M", 4), "TQ==TWFu", false},
        Row{"more padding than bytes", "", "=====", false},
        Row{"padding first keeps its bits", "", "=A==", false}}) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(SlowDecode(row.text), row.bytes);
    ExpectDecoded(row.text);
    if (!row.isStandard) continue;
    EXPECT_EQ(SlowEncode(row.bytes), row.text);
    ExpectEncoded(row.bytes);
    EXPECT_EQ(encoder_.Encode(row.bytes.c_str()), row.text.size());
  }
}

TEST_F(Base64, EncodesEveryInputOfUpToThreeBytes) {
  for (int pair = 0; pair < 65536; ++pair) {
    const Bytes two = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
    ExpectEncoded(two.substr(0, 1));
    ExpectEncoded(two);
    Bytes groups;  // with every third byte
    for (int c = 0; c < 256; ++c) groups += two + static_cast<char>(c);
    const std::string text = Encode(encoder_, groups);
    ASSERT_EQ(text, SlowEncode(groups));
    ASSERT_EQ(Decode(decoder_, text), groups);
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
      ExpectDecoded(text);
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
    ExpectEncoded(bytes);
    std::string text = Encode(encoder_, bytes);
    for (unsigned i = random() % 4; i > 0; --i)
      text.insert(random() % (text.size() + 1), 1, interruptions[random() % interruptions.size()]);
    ExpectDecoded(text);
  }
}

TEST_F(Base64, ReusesItsBuffers) {
  for (CBase64* codec : encoders_) {
    const std::string old = Encode(*codec, Bytes(100, 'x'));
    const char* const buffer = codec->EncodedMessage();
    EXPECT_EQ(Encode(*codec, "0123456789"), SlowEncode("0123456789"));
    EXPECT_EQ(codec->EncodedMessage(), buffer);
    EXPECT_EQ(std::string(buffer), SlowEncode("0123456789") + old.substr(16));

    char* const detached = codec->DetachMessage();
    EXPECT_EQ(Encode(*codec, "Man"), "TWFu");
    EXPECT_EQ(detached, buffer);
    EXPECT_NE(codec->EncodedMessage(), buffer);
    std::free(detached);
    codec->ReleaseMem();
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(Encode(*codec, "Ma"), "TWE=");
  }
}

TEST_F(Base64, EncodingLetsDecodedBytesGo) {
  for (CBase64* codec : decoders_) {
    Decode(*codec, "TWFu");
    unsigned char* const bytes = const_cast<unsigned char*>(codec->DecodedMessage());
    EXPECT_EQ(Encode(*codec, "Ma"), "TWE=");
    EXPECT_EQ(codec->DecodedMessage(), nullptr);
    EXPECT_EQ(Decoded(*codec), "");
    EXPECT_EQ(std::memcmp(bytes, "Man", 3), 0);
    std::free(bytes);
    EXPECT_EQ(Decode(*codec, "TWE="), "Ma");  // in a new buffer, however large the old one was
  }
}

TEST_F(Base64, DecodesItsOwnText) {
  const Bytes bytes(2'000, 'q');
  std::string text = SlowEncode(bytes);
  text.insert(700, "\r\n");
  for (CBase64* codec : decoders_) {
    codec->SetEncodeBuffer(Begin(text), Size(text));
    codec->Decode(codec->EncodedMessage());
    EXPECT_EQ(Decoded(*codec), bytes);

    // Text inside text: the bytes become the text of the next round, which keeps it whole.
    EXPECT_EQ(Decode(*codec, SlowEncode(text)), text);
    codec->Decode(const_cast<unsigned char*>(codec->DecodedMessage()), Size(text));
    EXPECT_EQ(Decoded(*codec), bytes);
    EXPECT_EQ(std::string(codec->EncodedMessage()).substr(0, 2'668), SlowEncode(bytes));
  }
}

TEST_F(Base64, TooMuchAndNullAreNothing) {
  unsigned char byte = 0;
  for (CBase64* codec : encoders_) {
    EXPECT_EQ(codec->Encode(&byte, 0x80000000UL), 0U);
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(codec->Encode(nullptr), 0U);
    EXPECT_EQ(codec->Encode(nullptr, 5), 0U);
    codec->SetDecodeBuffer(&byte, 0xFFFFFFFFUL);
    EXPECT_EQ(codec->DecodedMessage(), nullptr);
    codec->Decode(nullptr);
    codec->Decode(nullptr, 5);
    EXPECT_EQ(Decoded(*codec), "");
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

TEST_F(Base64, DerivedClassesChangeTheSteps) {
  UrlSafe codec;
  EXPECT_EQ(Encode(codec, "\xFB\xFF\xFE"), "-__-");
  EXPECT_EQ(Decode(codec, "T.WFu"), "Man");
  EXPECT_NE(Decode(codec, "T WFu"), "Man");
}

TEST(Base64Slots, FollowTheAgreedOrder) {
  using testing::SlotOf;
  struct Steps : CBase64 {
    static std::vector<int> Slots() {
      return {SlotOf(&Steps::_EncodeToBuffer), SlotOf(&Steps::_DecodeToBuffer),
              SlotOf(&Steps::_EncodeRaw), SlotOf(&Steps::_DecodeRaw),
              SlotOf(&Steps::_IsBadMimeChar)};
    }
  };
  EXPECT_EQ(SlotOf<unsigned long (CBase64::*)(const char*)>(&CBase64::Encode), 1);
  EXPECT_EQ(SlotOf<void (CBase64::*)(const char*)>(&CBase64::Decode), 3);
  EXPECT_EQ(SlotOf<const unsigned char* (CBase64::*)() const>(&CBase64::DecodedMessage), 5);
  EXPECT_EQ(SlotOf(&CBase64::EncodedMessage), 7);
  EXPECT_EQ(SlotOf(&CBase64::AllocEncode), 8);
  EXPECT_EQ(SlotOf(&CBase64::SetDecodeBuffer), 11);
  EXPECT_EQ(Steps::Slots(), (std::vector<int>{12, 13, 14, 15, 16}));
  EXPECT_EQ(testing::CountVirtualOperations<CBase64>(), 17);
}

}  // namespace
}  // namespace velmora

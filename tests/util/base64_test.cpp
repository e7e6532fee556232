#include "velmora/util/base64.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

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
  for (const char c : text) {
    if (std::string("\a\b\t\n\v\f\r ").find(c) == std::string::npos || c == '\0') kept += c;
  }
  Bytes bytes;
  std::size_t length = 0;
  for (std::size_t i = 0; i < kept.size(); i += 4) {
    const std::size_t count = std::min<std::size_t>(kept.size() - i, 4);
    unsigned v[4] = {};
    for (std::size_t k = 0; k < count; ++k) {
      v[k] = SlowValue(kept[i + k]);
      if (v[k] == 0xFF && (count < 4 || k >= 2)) v[k] = 0;
    }
    bytes += static_cast<char>(v[0] << 2 | (v[1] >> 4 & 3));
    bytes += static_cast<char>(v[1] << 4 | (v[2] >> 2 & 15));
    bytes += static_cast<char>(v[2] << 6 | (v[3] & 63));
    length += count == 4 ? 3 : count;
  }
  for (const char c : text) {
    if (c == '=' && length > 0) --length;
  }
  return bytes.substr(0, length);
}

// Anything but exactly a CBase64 goes by the virtual steps.
class ByVirtualSteps : public CBase64 {};

template <typename Codec>
std::string Encode(Codec& codec, Bytes bytes) {
  unsigned char* const begin = reinterpret_cast<unsigned char*>(&bytes[0]);
  const unsigned long length = codec.Encode(begin, static_cast<unsigned long>(bytes.size()));
  return {codec.EncodedMessage(), length};
}

template <typename Codec>
Bytes Decode(Codec& codec, std::string text) {
  unsigned char* const begin = reinterpret_cast<unsigned char*>(&text[0]);
  codec.Decode(begin, static_cast<unsigned long>(text.size()));
  unsigned long length = 0;
  const unsigned char* bytes = codec.DecodedMessage(&length);
  return {reinterpret_cast<const char*>(bytes), length};
}

// Both ways of both directions against the twins. Codecs that decode never encode: that would let
// decoded bytes go unfreed.
class Base64 : public ::testing::Test {
 protected:
  void ExpectEncoded(const Bytes& bytes) {
    const std::string want = SlowEncode(bytes);
    ASSERT_EQ(Encode(encoder_, bytes), want) << ::testing::PrintToString(bytes);
    ASSERT_EQ(Encode(slowEncoder_, bytes), want) << ::testing::PrintToString(bytes);
  }

  void ExpectDecoded(const std::string& text) {
    const Bytes want = SlowDecode(text);
    ASSERT_EQ(Decode(decoder_, text), want) << ::testing::PrintToString(text);
    ASSERT_EQ(Decode(slowDecoder_, text), want) << ::testing::PrintToString(text);
    ASSERT_EQ(std::strcmp(decoder_.EncodedMessage(), slowDecoder_.EncodedMessage()), 0);
  }

  CBase64 encoder_, decoder_;
  ByVirtualSteps slowEncoder_, slowDecoder_;
};

TEST_F(Base64, KnowsTheStandardsVectors) {
  struct Row {
    const char *bytes, *text;
  };
  for (const Row& row : {Row{"", ""}, Row{"f", "Zg=="}, Row{"fo", "Zm8="}, Row{"foo", "Zm9v"},
                         Row{"foob", "Zm9vYg=="}, Row{"fooba", "Zm9vYmE="},
                         Row{"foobar", "Zm9vYmFy"}, Row{"Man", "TWFu"}, Row{"M", "TQ=="}}) {
    SCOPED_TRACE(row.bytes);
    EXPECT_EQ(encoder_.Encode(row.bytes), std::strlen(row.text));
    EXPECT_EQ(Encode(encoder_, row.bytes), row.text);
    EXPECT_EQ(Decode(decoder_, row.text), row.bytes);
    EXPECT_EQ(SlowEncode(row.bytes), row.text);
    EXPECT_EQ(SlowDecode(row.text), row.bytes);
  }
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
        Row{"more padding than bytes", "=====", ""},
        Row{"padding first keeps its bits", "=A==", ""}}) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Decode(decoder_, row.text), row.want);
    ExpectDecoded(row.text);
  }
}

TEST_F(Base64, EncodesEveryShortInput) {
  ExpectEncoded("");
  for (int a = 0; a < 256; ++a) {
    const char first = static_cast<char>(a);
    ExpectEncoded({first});
    for (int b = 0; b < 256; ++b) ExpectEncoded({first, static_cast<char>(b)});
  }
  // All three-byte groups: one input of 256 groups for each pair of first bytes.
  for (int pair = 0; pair < 65536; ++pair) {
    Bytes bytes;
    for (int c = 0; c < 256; ++c)
      bytes += {static_cast<char>(pair >> 8), static_cast<char>(pair), static_cast<char>(c)};
    const std::string text = Encode(encoder_, bytes);
    ASSERT_EQ(text, SlowEncode(bytes));
    ASSERT_EQ(Decode(decoder_, text), bytes);
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
  for (CBase64* codec : {&encoder_, static_cast<CBase64*>(&slowEncoder_)}) {
    const std::string old = Encode(*codec, Bytes(100, 'x'));
    const char* const buffer = codec->EncodedMessage();
    EXPECT_EQ(Encode(*codec, "0123456789"), SlowEncode("0123456789"));
    EXPECT_EQ(codec->EncodedMessage(), buffer);
    EXPECT_EQ(std::string(buffer), SlowEncode("0123456789") + old.substr(16));

    char* const detached = codec->DetachMessage();
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(Encode(*codec, "Man"), "TWFu");  // in a new buffer
    std::free(detached);
    codec->ReleaseMem();
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(Encode(*codec, "Ma"), "TWE=");
  }
}

TEST_F(Base64, EncodingLetsDecodedBytesGo) {
  for (CBase64* codec : {&decoder_, static_cast<CBase64*>(&slowDecoder_)}) {
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

TEST_F(Base64, DecodesItsOwnText) {
  const Bytes bytes(2'000, 'q');
  for (CBase64* codec : {&decoder_, static_cast<CBase64*>(&slowDecoder_)}) {
    std::string text = SlowEncode(bytes);
    text.insert(700, "\r\n");
    codec->SetEncodeBuffer(reinterpret_cast<unsigned char*>(&text[0]),
                           static_cast<unsigned long>(text.size()));
    codec->Decode(codec->EncodedMessage());
    unsigned long length = 0;
    EXPECT_EQ(std::memcmp(codec->DecodedMessage(&length), bytes.data(), bytes.size()), 0);
    EXPECT_EQ(length, bytes.size());

    // Text inside text: the bytes become the text of the next round, which keeps it whole.
    Decode(*codec, SlowEncode(text));
    unsigned char* const inner = const_cast<unsigned char*>(codec->DecodedMessage(&length));
    codec->Decode(inner, length);
    EXPECT_EQ(std::memcmp(codec->DecodedMessage(&length), bytes.data(), bytes.size()), 0);
    EXPECT_EQ(length, bytes.size());
    EXPECT_EQ(std::string(codec->EncodedMessage()).substr(0, 2'668), SlowEncode(bytes));
  }
}

TEST_F(Base64, TooMuchForItsLengthsIsNothing) {
  unsigned char bytes[1] = {};
  for (CBase64* codec : {&encoder_, static_cast<CBase64*>(&slowEncoder_)}) {
    EXPECT_EQ(codec->Encode(bytes, 0x80000000UL), 0U);
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    codec->SetDecodeBuffer(bytes, 0xFFFFFFFFUL);
    EXPECT_EQ(codec->DecodedMessage(), nullptr);
  }
  EXPECT_EQ(encoder_.Encode(nullptr), 0U);
  encoder_.Decode(nullptr);
}

TEST_F(Base64, NothingMayBeNull) {
  for (CBase64* codec : {&encoder_, static_cast<CBase64*>(&slowEncoder_)}) {
    EXPECT_EQ(codec->Encode(nullptr, 0), 0U);
    codec->Decode(nullptr, 0);
    unsigned long length = 1;
    codec->DecodedMessage(&length);
    EXPECT_EQ(length, 0U);
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
    static int Slot(int step) {
      switch (step) {
        case 0:
          return SlotOf(&Steps::_EncodeToBuffer);
        case 1:
          return SlotOf(&Steps::_DecodeToBuffer);
        case 2:
          return SlotOf(&Steps::_EncodeRaw);
        case 3:
          return SlotOf(&Steps::_DecodeRaw);
        default:
          return SlotOf(&Steps::_IsBadMimeChar);
      }
    }
  };
  EXPECT_EQ(SlotOf<unsigned long (CBase64::*)(const char*)>(&CBase64::Encode), 1);
  EXPECT_EQ(SlotOf<void (CBase64::*)(const char*)>(&CBase64::Decode), 3);
  EXPECT_EQ(SlotOf<const unsigned char* (CBase64::*)() const>(&CBase64::DecodedMessage), 5);
  EXPECT_EQ(SlotOf(&CBase64::EncodedMessage), 7);
  EXPECT_EQ(SlotOf(&CBase64::AllocEncode), 8);
  EXPECT_EQ(SlotOf(&CBase64::SetDecodeBuffer), 11);
  for (int step = 0; step < 5; ++step) EXPECT_EQ(Steps::Slot(step), 12 + step);
  EXPECT_EQ(testing::CountVirtualOperations<CBase64>(), 17);
}

}  // namespace
}  // namespace velmora

#include "tests/support/test.h"

namespace velmora {
namespace {

using Bytes = std::string;

// Anything but exactly a CBase64 goes by the virtual steps: the slow twin of the short way.
class ByVirtualSteps : public CBase64 {};

unsigned char* Begin(Bytes& bytes) {
  return reinterpret_cast<unsigned char*>(&bytes[0]);
}

unsigned long Size(const Bytes& bytes) {
  return static_cast<unsigned long>(bytes.size());
}

std::string Encode(CBase64& codec, Bytes bytes) {
  const unsigned long size = Size(bytes);
  bytes += "what follows is not read";
  const unsigned long length = codec.Encode(Begin(bytes), size);
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

// Both ways of both directions. Codecs that decode never encode: that would let decoded bytes go
// unfreed.
class Base64 : public ::testing::Test {
 protected:
  CBase64 encoder_, decoder_;
  ByVirtualSteps slowEncoder_, slowDecoder_;
  const std::vector<CBase64*> encoders_ = {&encoder_, &slowEncoder_};
  const std::vector<CBase64*> decoders_ = {&decoder_, &slowDecoder_};
};

TEST_F(Base64, EncodesByTheStandardAndDecodesLeniently) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const Bytes ofAlphabet(
      "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51"
      "\x55\x97\x61\x96\x9B\x71\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A"
      "\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3\xDF\xBF",
      48);
  std::string highBits = alphabet;
  for (char& c : highBits) c = static_cast<char>(c | 0x80);
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
        Row{"every character", ofAlphabet, alphabet, true},
        Row{"with its high bit", ofAlphabet, highBits, false},
        Row{"what is skipped", "Man", "\a\bT\t\nW\v\fF\r u", false},
        Row{"what is no character", "\xFB\xEF\xBE", std::string("\0\x06\x0E!", 4), false},
        Row{"no padding: one byte more than there is", Bytes("M\0", 2), "TQ", false},
        Row{"padding inside takes a byte too", Bytes(4, '\0'), "AA==AAAA", false},
        Row{"padding with its high bit takes none", Bytes("M\0\0", 3), "TQ\xBD\xBD", false},
        Row{"more padding than bytes", "", "=====", false},
        Row{"padding first keeps its bits", "", "=A==", false}}) {
    SCOPED_TRACE(row.name);
    for (CBase64* codec : decoders_) EXPECT_EQ(Decode(*codec, row.text), row.bytes);
    if (!row.isStandard) continue;
    for (CBase64* codec : encoders_) EXPECT_EQ(Encode(*codec, row.bytes), row.text);
  }
  EXPECT_EQ(encoder_.Encode("foob"), 8U);
}

TEST_F(Base64, TheShortWayAgreesWithTheVirtualSteps) {
  std::mt19937 random(7);
  const std::string interruptions = " \r\n=\t!\x80";
  for (unsigned round = 0; round < 2'000; ++round) {
    SCOPED_TRACE(round);
    Bytes bytes(random() % (1 + round), '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    std::string text = Encode(encoder_, bytes);
    ASSERT_EQ(text, Encode(slowEncoder_, bytes));
    ASSERT_EQ(Decode(decoder_, text), bytes);
    for (unsigned i = random() % 4; i > 0; --i) {
      text.insert(random() % (text.size() + 1), 1, interruptions[random() % interruptions.size()]);
    }
    ASSERT_EQ(Decode(decoder_, text), Decode(slowDecoder_, text));
    ASSERT_STREQ(decoder_.EncodedMessage(), slowDecoder_.EncodedMessage());
  }
}

// Also behind the results: neither way may write more than the other.
std::string Buffers(CBase64& codec) {
  constexpr std::size_t kCompared = 512;
  return std::string(codec.EncodedMessage(), kCompared) +
         std::string(reinterpret_cast<const char*>(codec.DecodedMessage()), kCompared);
}

// From a buffer of exactly that size.
std::string DecodeExactly(CBase64& codec, const std::string& text) {
  std::vector<unsigned char> exact(text.begin(), text.end());
  codec.Decode(exact.data(), Size(text));
  return Decoded(codec) + Buffers(codec);
}

// Every length, and every character in every place, which need not be one that text has.
TEST_F(Base64, BothWaysAgreeOnEachLengthAndEachCharacter) {
  std::mt19937 random(8);
  Bytes bytes(300, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  std::string text;
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    SCOPED_TRACE(length);
    std::vector<unsigned char> exact(bytes.begin(), bytes.begin() + static_cast<int>(length));
    const auto encode = [&](CBase64& codec) {
      const unsigned long count = codec.Encode(exact.data(), static_cast<unsigned long>(length));
      return std::make_pair(count, std::string(codec.EncodedMessage(), 512));
    };
    const auto [count, buffer] = encode(encoder_);
    ASSERT_EQ(std::pair(count, buffer), encode(slowEncoder_));
    text = buffer.substr(0, count);
    ASSERT_EQ(DecodeExactly(decoder_, text), DecodeExactly(slowDecoder_, text));
    ASSERT_EQ(Decoded(decoder_), bytes.substr(0, length));
  }
  for (std::size_t place = 0; place < 160; ++place) {
    // A length for each remainder of a vector.
    std::string changed = text.substr(0, 161 + place % 64);
    for (int c = 0; c < 256; ++c) {
      changed[place] = static_cast<char>(c);
      ASSERT_EQ(DecodeExactly(decoder_, changed), DecodeExactly(slowDecoder_, changed))
          << "character " << c << " in place " << place;
    }
  }
}

TEST_F(Base64, ReusesItsBuffers) {
  for (CBase64* codec : encoders_) {
    const std::string old = Encode(*codec, Bytes(100, 'x'));
    const char* const buffer = codec->EncodedMessage();
    EXPECT_EQ(Encode(*codec, "0123456789"), "MDEyMzQ1Njc4OQ==");
    EXPECT_EQ(codec->EncodedMessage(), buffer);
    EXPECT_EQ(std::string(buffer), "MDEyMzQ1Njc4OQ==" + old.substr(16));

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

TEST_F(Base64, DecodesItsOwnText) {
  const Bytes bytes(2'000, 'q');
  const std::string encoded = Encode(encoder_, bytes);
  std::string text = encoded;
  text.insert(700, "\r\n");
  for (CBase64* codec : decoders_) {
    codec->SetEncodeBuffer(Begin(text), Size(text));
    codec->Decode(codec->EncodedMessage());
    EXPECT_EQ(Decoded(*codec), bytes);

    // Text inside text: the bytes become the text of the next round, which keeps it whole.
    EXPECT_EQ(Decode(*codec, Encode(encoder_, text)), text);
    codec->Decode(const_cast<unsigned char*>(codec->DecodedMessage()), Size(text));
    EXPECT_EQ(Decoded(*codec), bytes);
    EXPECT_EQ(std::string(codec->EncodedMessage()).substr(0, 2'668), encoded);
    codec->ReleaseMem();
    EXPECT_EQ(Decoded(*codec), "");
  }
}

TEST_F(Base64, TooMuchAndNullAreNothing) {
  unsigned char byte = 0;
  for (CBase64* codec : encoders_) {
    Encode(*codec, "too much empties the buffer");
    EXPECT_EQ(codec->Encode(&byte, 0x80000000UL), 0U);
    EXPECT_EQ(codec->EncodedMessage(), nullptr);
    EXPECT_EQ(codec->Encode(nullptr), 0U);
    EXPECT_EQ(codec->Encode(nullptr, 5), 0U);
    codec->SetDecodeBuffer(&byte, 0xFFFFFFFFUL);
    EXPECT_EQ(codec->DecodedMessage(), nullptr);
    codec->Decode(nullptr);
    codec->Decode(nullptr, 5);
    codec->SetEncodeBuffer(nullptr, 5);
    EXPECT_EQ(Decoded(*codec), "");
    codec->SetDecodeBuffer(&byte, 1);
    EXPECT_EQ(Decoded(*codec), Bytes(1, '\0'));
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

}  // namespace
}  // namespace velmora

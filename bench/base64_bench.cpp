// Base64 beside OpenSSL, Boost.Beast and modp_b64 (the fastest that Debian 12 packages for C or
// C++; none uses SIMD), and beside memcpy of the same traffic. All write into buffers that exist
// already.

#include "velmora/util/base64.h"

#include <benchmark/benchmark.h>
#include <modp_b64.h>
#include <openssl/evp.h>

#include <boost/beast/core/detail/base64.hpp>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using velmora::CBase64;
namespace beast = boost::beast::detail::base64;

struct Data {
  explicit Data(std::size_t byteCount) : bytes(byteCount), text(byteCount * 2 + 16) {
    std::mt19937 random(1);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    const int length = EVP_EncodeBlock(text.data(), bytes.data(), Count());
    clean.assign(text.begin(), text.begin() + length);
    // As mail programs write it: a line break after every 76 characters.
    for (std::size_t i = 0; i < clean.size(); ++i) {
      lines.push_back(clean[i]);
      if (i % 76 == 75) lines.insert(lines.end(), {'\r', '\n'});
    }
  }

  int Count() const { return static_cast<int>(bytes.size()); }

  std::vector<unsigned char> bytes;         // to encode; peers decode into it
  std::vector<unsigned char> text;          // room for an encoded text
  std::vector<unsigned char> clean, lines;  // texts to decode
};

unsigned long Length(const std::vector<unsigned char>& bytes) {
  return static_cast<unsigned long>(bytes.size());
}
const char* Chars(const std::vector<unsigned char>& bytes) {
  return reinterpret_cast<const char*>(bytes.data());
}

// Registers "row/contender"; `run` has the data and an object that keeps its buffers.
template <typename Run>
void Add(const std::string& row, const char* contender, std::size_t byteCount, Run run) {
  benchmark::RegisterBenchmark((row + '/' + contender).c_str(), [=](benchmark::State& state) {
    Data data(byteCount);
    CBase64 codec;
    for (auto _ : state) {
      benchmark::DoNotOptimize(run(data, codec));
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * data.Count());
    state.SetLabel("byte");
  });
}

void Register(const std::string& size, std::size_t count) {
  const auto copy = [](Data& d, CBase64&) {
    return std::memcpy(d.text.data(), d.clean.data(), (d.bytes.size() + d.clean.size()) / 2);
  };

  std::string row = "encode " + size;
  Add(row, "velmora", count,
      [](Data& d, CBase64& codec) { return codec.Encode(d.bytes.data(), Length(d.bytes)); });
  Add(row, "memcpy", count, copy);
  Add(row, "OpenSSL", count,
      [](Data& d, CBase64&) { return EVP_EncodeBlock(d.text.data(), d.bytes.data(), d.Count()); });
  Add(row, "Beast", count, [](Data& d, CBase64&) {
    return beast::encode(d.text.data(), d.bytes.data(), d.bytes.size());
  });
  Add(row, "modp_b64", count, [](Data& d, CBase64&) {
    return modp_b64_encode(reinterpret_cast<char*>(d.text.data()), Chars(d.bytes), d.bytes.size());
  });

  row = "decode " + size;
  Add(row, "velmora", count, [](Data& d, CBase64& codec) {
    codec.Decode(d.clean.data(), Length(d.clean));
    return codec.DecodedMessage();
  });
  Add(row, "memcpy", count, copy);
  Add(row, "OpenSSL", count, [](Data& d, CBase64&) {
    return EVP_DecodeBlock(d.text.data(), d.clean.data(), static_cast<int>(d.clean.size()));
  });
  Add(row, "Beast", count, [](Data& d, CBase64&) {
    return beast::decode(d.text.data(), Chars(d.clean), d.clean.size()).first;
  });
  Add(row, "modp_b64", count, [](Data& d, CBase64&) {
    return modp_b64_decode(reinterpret_cast<char*>(d.text.data()), Chars(d.clean), d.clean.size());
  });

  row = "decode lines " + size;
  Add(row, "velmora", count, [](Data& d, CBase64& codec) {
    codec.Decode(d.lines.data(), Length(d.lines));
    return codec.DecodedMessage();
  });
  Add(row, "OpenSSL", count, [](Data& d, CBase64&) {
    const std::unique_ptr<EVP_ENCODE_CTX, void (*)(EVP_ENCODE_CTX*)> context(EVP_ENCODE_CTX_new(),
                                                                             &EVP_ENCODE_CTX_free);
    int length = 0;
    EVP_DecodeInit(context.get());
    EVP_DecodeUpdate(context.get(), d.text.data(), &length, d.lines.data(),
                     static_cast<int>(d.lines.size()));
    return length;
  });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Register("16 B", 16);
  Register("64 B", 64);
  Register("256 B", 256);
  Register("1 KiB", 1 << 10);
  Register("4 KiB", 4 << 10);
  Register("64 KiB", 64 << 10);
  Register("1 MiB", 1 << 20);
  benchmark::RunSpecifiedBenchmarks();
}

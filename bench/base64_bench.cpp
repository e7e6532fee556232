// Base64 beside OpenSSL and Boost.Beast, bytes per second of the binary side. All write into
// buffers that exist already.

#include "velmora/util/base64.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <boost/beast/core/detail/base64.hpp>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using velmora::CBase64;
namespace beast = boost::beast::detail::base64;

std::vector<unsigned char> RandomBytes(std::size_t count) {
  std::mt19937 random(1);
  std::vector<unsigned char> bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

std::string Text(std::size_t byteCount) {
  CBase64 codec;
  std::vector<unsigned char> bytes = RandomBytes(byteCount);
  const unsigned long length = codec.Encode(bytes.data(), static_cast<unsigned long>(byteCount));
  return {codec.EncodedMessage(), length};
}

// As mail programs write it: a line break behind every 76 characters.
std::string BrokenIntoLines(const std::string& text) {
  std::string lines;
  for (std::size_t i = 0; i < text.size(); i += 76) lines += text.substr(i, 76) + "\r\n";
  return lines;
}

void Encode(benchmark::State& state) {
  std::vector<unsigned char> bytes = RandomBytes(static_cast<std::size_t>(state.range(0)));
  CBase64 codec;
  codec.Encode(bytes.data(), static_cast<unsigned long>(bytes.size()));  // makes the buffers
  for (auto _ : state) {
    benchmark::DoNotOptimize(codec.Encode(bytes.data(), static_cast<unsigned long>(bytes.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void EncodeOpenSsl(benchmark::State& state) {
  const std::vector<unsigned char> bytes = RandomBytes(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> text(bytes.size() * 2 + 8);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void EncodeBeast(benchmark::State& state) {
  const std::vector<unsigned char> bytes = RandomBytes(static_cast<std::size_t>(state.range(0)));
  std::vector<char> text(beast::encoded_size(bytes.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(beast::encode(text.data(), bytes.data(), bytes.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void DecodeText(benchmark::State& state, std::string text) {
  unsigned char* const characters = reinterpret_cast<unsigned char*>(text.data());
  const unsigned long length = static_cast<unsigned long>(text.size());
  CBase64 codec;
  codec.Decode(characters, length);  // makes the buffers
  for (auto _ : state) {
    codec.Decode(characters, length);
    benchmark::DoNotOptimize(codec.DecodedMessage());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Decode(benchmark::State& state) {
  DecodeText(state, Text(static_cast<std::size_t>(state.range(0))));
}

void DecodeLines(benchmark::State& state) {
  DecodeText(state, BrokenIntoLines(Text(static_cast<std::size_t>(state.range(0)))));
}

void DecodeOpenSsl(benchmark::State& state) {
  const std::string text = Text(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(),
                                             reinterpret_cast<const unsigned char*>(text.data()),
                                             static_cast<int>(text.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void DecodeBeast(benchmark::State& state) {
  const std::string text = Text(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(beast::decode(bytes.data(), text.data(), text.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

#define SIZES Arg(1 << 10)->Arg(64 << 10)->Arg(16 << 20)
BENCHMARK(Encode)->SIZES;
BENCHMARK(EncodeOpenSsl)->SIZES;
BENCHMARK(EncodeBeast)->SIZES;
BENCHMARK(Decode)->SIZES;
BENCHMARK(DecodeLines)->SIZES;
BENCHMARK(DecodeOpenSsl)->SIZES;
BENCHMARK(DecodeBeast)->SIZES;

}  // namespace

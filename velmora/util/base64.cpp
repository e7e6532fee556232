#include "velmora/util/base64.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "velmora/util/internal/base64_tables.h"

namespace velmora {
namespace {

using internal::kBase64Values;
using internal::PaddingAsZero;

constexpr unsigned long kPage = 4096;

// Makes a buffer hold `size` bytes: by keeping it, or by a new one that is zero-filled and at least
// one byte longer. Without memory, or beyond 32 bits, the buffer is null.
void Reserve(unsigned char*& buffer, std::uint32_t& capacity, unsigned long size) {
  if (buffer != nullptr && capacity >= size) return;
  std::free(buffer);
  buffer = nullptr;
  capacity = 0;
  if (size >= UINT32_MAX - (kPage - 1)) return;
  const std::uint32_t wanted = static_cast<std::uint32_t>(size - size % kPage + kPage);
  buffer = static_cast<unsigned char*>(std::calloc(wanted, 1));
  if (buffer != nullptr) capacity = wanted;
}

bool IsInside(const unsigned char* p, const unsigned char* buffer, std::uint32_t capacity) {
  const std::less<const unsigned char*> isBefore;  // p may point anywhere
  return buffer != nullptr && !isBefore(p, buffer) && isBefore(p, buffer + capacity);
}

// In the C++ ABI of both targets a polymorphic object begins with the pointer to its class's table
// of virtual operations.
const void* OperationTableOf(const CBase64& codec) {
  const void* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&codec), sizeof table);
  return table;
}

// Not typeid: a class derived in a program that is built without run-time type information has no
// type to ask for.
bool IsExactlyBase64(const CBase64& codec) {
  static const void* const exact = OperationTableOf(CBase64());
  return OperationTableOf(codec) == exact;
}

unsigned char* AsBytes(const char* text) {
  return reinterpret_cast<unsigned char*>(const_cast<char*>(text));
}

}  // namespace

CBase64::~CBase64() {
  std::free(decodeBuffer_);
  std::free(encodeBuffer_);
}

unsigned long CBase64::Encode(const char* text) {
  return text == nullptr ? 0 : Encode(AsBytes(text), static_cast<unsigned long>(std::strlen(text)));
}

unsigned long CBase64::Encode(unsigned char* const bytes, unsigned long length) {
  if (bytes == nullptr) length = 0;
  // The input is borrowed as the decoded bytes while the virtual steps run; what stood there is let
  // go on purpose.
  decodeBuffer_ = bytes;
  decodedLength_ = static_cast<std::uint32_t>(length);
  AllocEncode(length > ULONG_MAX / 2 ? ULONG_MAX : 2 * length);
  if (encodeBuffer_ != nullptr) {
    if (IsExactlyBase64(*this)) {
      EncodeExactly();
    } else {
      EncodeGroups();
    }
  }
  decodeBuffer_ = nullptr;
  decodedLength_ = 0;
  return encodedLength_;
}

void CBase64::EncodeGroups() {
  for (std::uint32_t i = 0; i < decodedLength_; i += 3) {
    const std::uint32_t count = std::min<std::uint32_t>(decodedLength_ - i, 3);
    TempBucket bucket{{}, static_cast<unsigned char>(count)};
    std::copy_n(decodeBuffer_ + i, count, bucket.data);
    _EncodeToBuffer(bucket, encodeBuffer_ + encodedLength_);
    encodedLength_ += 4;
  }
}

void CBase64::Decode(const char* text) {
  if (text != nullptr) Decode(AsBytes(text), static_cast<unsigned long>(std::strlen(text)));
}

void CBase64::Decode(unsigned char* const text, unsigned long length) {
  if (text == nullptr) length = 0;
  // The short way would decode over text that stands in the buffer of decoded bytes before it has
  // kept the characters.
  const bool isInPlace = IsInside(text, decodeBuffer_, decodeCapacity_);
  if (IsExactlyBase64(*this) && !isInPlace) return DecodeExactly(text, length);
  // Counted first, because the text may lie in this object's own buffers.
  const auto paddings = std::count(text, text + length, '=');
  SetEncodeBuffer(text, length);
  AllocDecode(length);
  if (decodeBuffer_ == nullptr) return;
  DecodeGroups();
  decodedLength_ -= static_cast<std::uint32_t>(std::min<long long>(paddings, decodedLength_));
}

void CBase64::DecodeGroups() {
  for (std::uint32_t i = 0; i < encodedLength_; i += 4) {
    const std::uint32_t count = std::min<std::uint32_t>(encodedLength_ - i, 4);
    TempBucket bucket{{}, static_cast<unsigned char>(count)};
    for (std::uint32_t k = 0; k < count; ++k) {
      const unsigned char value = kBase64Values[encodeBuffer_[i + k]];
      // A padding character keeps its 0xFF in the first half of a complete group.
      bucket.data[k] = count == 4 && k < 2 ? value : PaddingAsZero(value);
    }
    _DecodeToBuffer(bucket, decodeBuffer_ + decodedLength_);
    decodedLength_ += count == 4 ? 3 : count;
  }
}

const unsigned char* CBase64::DecodedMessage() const {
  return decodeBuffer_;
}

const unsigned char* CBase64::DecodedMessage(unsigned long* length) const {
  if (length != nullptr) *length = decodedLength_;
  return decodeBuffer_;
}

const char* CBase64::EncodedMessage() {
  return reinterpret_cast<const char*>(encodeBuffer_);
}

void CBase64::AllocEncode(unsigned long size) {
  encodedLength_ = 0;
  Reserve(encodeBuffer_, encodeCapacity_, size);
}

void CBase64::AllocDecode(unsigned long size) {
  decodedLength_ = 0;
  Reserve(decodeBuffer_, decodeCapacity_, size);
}

void CBase64::SetEncodeBuffer(unsigned char* const text, unsigned long length) {
  AllocEncode(length);
  if (encodeBuffer_ == nullptr || text == nullptr) return;
  for (unsigned long i = 0; i < length; ++i) {
    if (_IsBadMimeChar(text[i]) == 0) encodeBuffer_[encodedLength_++] = text[i];
  }
}

void CBase64::SetDecodeBuffer(unsigned char* const bytes, unsigned long length) {
  AllocDecode(length);
  if (decodeBuffer_ == nullptr || bytes == nullptr) return;
  std::memmove(decodeBuffer_, bytes, length);
  decodedLength_ = static_cast<std::uint32_t>(length);
}

char* CBase64::DetachMessage() {
  char* const text = reinterpret_cast<char*>(encodeBuffer_);
  encodeBuffer_ = nullptr;
  return text;
}

void CBase64::ReleaseMem() {
  std::free(decodeBuffer_);
  std::free(encodeBuffer_);
  decodeBuffer_ = encodeBuffer_ = nullptr;
  decodeCapacity_ = encodeCapacity_ = 0;
  decodedLength_ = encodedLength_ = 0;
}

void CBase64::_EncodeToBuffer(const TempBucket& bytes, unsigned char* dest) {
  TempBucket values{};
  _EncodeRaw(values, bytes);
  for (int i = 0; i < 4; ++i) {
    dest[i] = static_cast<unsigned char>(internal::kBase64Alphabet[values.data[i] & 63]);
  }
  if (bytes.size <= 2) dest[3] = '=';
  if (bytes.size == 1) dest[2] = '=';
}

unsigned long CBase64::_DecodeToBuffer(const TempBucket& values, unsigned char* dest) {
  TempBucket bytes{};
  _DecodeRaw(bytes, values);
  unsigned long below255 = 0;
  for (int i = 0; i < 3; ++i) {
    dest[i] = bytes.data[i];
    if (bytes.data[i] < 255) ++below255;
  }
  return below255;
}

void CBase64::_EncodeRaw(TempBucket& values, const TempBucket& bytes) {
  const unsigned char* in = bytes.data;
  values.data[0] = static_cast<unsigned char>(in[0] >> 2);
  values.data[1] = static_cast<unsigned char>((in[0] << 4 | in[1] >> 4) & 63);
  values.data[2] = static_cast<unsigned char>((in[1] << 2 | in[2] >> 6) & 63);
  values.data[3] = static_cast<unsigned char>(in[2] & 63);
}

void CBase64::_DecodeRaw(TempBucket& bytes, const TempBucket& values) {
  const unsigned char* in = values.data;
  bytes.data[0] = static_cast<unsigned char>(in[0] << 2 | (in[1] >> 4 & 3));
  bytes.data[1] = static_cast<unsigned char>(in[1] << 4 | (in[2] >> 2 & 15));
  bytes.data[2] = static_cast<unsigned char>(in[2] << 6 | (in[3] & 63));
}

int CBase64::_IsBadMimeChar(unsigned char c) {
  return internal::IsSkippedInBase64(c) ? 1 : 0;
}

}  // namespace velmora

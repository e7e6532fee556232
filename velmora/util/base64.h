/// @file
/// Bytes as Base64 text and back.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

namespace velmora {

/// Base64 in the standard alphabet with "=" padding and without line breaks (RFC 4648).
///
/// Decoding is lenient and never fails: white space and the control characters 7 to 13 are skipped,
/// a character with the high bit set counts as the one without, and any other character decodes to
/// some bits.
///
///     CBase64 codec;
///     const unsigned long length = codec.Encode(bytes, byteCount);
///     const std::string text(codec.EncodedMessage(), length);
///
/// An object may be reused; its buffers only grow. Texts and bytes are ended by no 0 of their own:
/// go by the lengths, because a reused buffer may hold more of an earlier result.
///
/// Every step is virtual for derived classes with buffers or character rules of their own, which
/// may be compiled without run-time type information. An object that is exactly a `CBase64` takes a
/// shorter way to the same result.
///
/// A copy shares both buffers with its original, and both would free them: copy only what is
/// detached or never destroyed.
///
/// No operation throws. Where memory is missing the buffer is null and the result empty. Lengths
/// are 32 bits: an input of 2 GiB or more to encode, or of nearly 4 GiB to decode, counts as
/// missing memory.
///
/// @threadsafety none for one object; different objects are independent
class VELMORA_EXPORT CBase64 {
 public:
  CBase64() = default;
  CBase64(const CBase64&) = default;
  CBase64& operator=(const CBase64&) = default;
  virtual ~CBase64();

  /// Encodes a C string without its 0. Null does nothing.
  virtual unsigned long Encode(const char* text);

  /// Encodes @p length bytes, which must not lie in this object's text buffer.
  ///
  /// The decoded bytes that the object held are let go, not freed: they belong to whoever took
  /// their address from `DecodedMessage()`, and are freed with the C heap's `free`.
  /// @return the number of characters of the text
  virtual unsigned long Encode(unsigned char* const bytes, unsigned long length);

  /// Decodes a C string. Null does nothing.
  virtual void Decode(const char* text);

  /// Decodes @p length characters, which may stand in this object's own buffers. The text buffer is
  /// used on the way: it holds the characters that were not skipped afterwards.
  ///
  /// Every complete group of four characters makes three bytes, one to three characters behind
  /// them make as many bytes, and every "=" anywhere in the input takes one away.
  virtual void Decode(unsigned char* const text, unsigned long length);

  /// The decoded bytes, owned by this object; null before the first `Decode`.
  virtual const unsigned char* DecodedMessage() const;
  virtual const unsigned char* DecodedMessage(unsigned long* length) const;

  /// The encoded text, owned by this object; null before the first use.
  virtual const char* EncodedMessage();

  /// Empties the text buffer and makes room for @p size characters, zero-filled when it is new.
  virtual void AllocEncode(unsigned long size);

  /// The same for the buffer of decoded bytes.
  virtual void AllocDecode(unsigned long size);

  /// Fills the text buffer with the characters that are not skipped.
  virtual void SetEncodeBuffer(unsigned char* const text, unsigned long length);

  /// Fills the buffer of decoded bytes.
  virtual void SetDecodeBuffer(unsigned char* const bytes, unsigned long length);

  /// Hands the text buffer over to the caller, who frees it with the C heap's `free`.
  char* DetachMessage();

  /// Frees both buffers.
  void ReleaseMem();

 protected:
  /// A group on its way between four characters and three bytes.
  struct TempBucket {
    unsigned char data[4];
    unsigned char size;  ///< how many entries mean something, 1 to 4
  };

  /// Writes four characters, padded with "=" if the bucket has fewer than three bytes.
  virtual void _EncodeToBuffer(const TempBucket& bytes, unsigned char* dest);
  /// Writes three bytes. @return how many of them are below 255
  virtual unsigned long _DecodeToBuffer(const TempBucket& values, unsigned char* dest);
  /// Three bytes to four values of six bits.
  virtual void _EncodeRaw(TempBucket& values, const TempBucket& bytes);
  /// Four values to three bytes.
  virtual void _DecodeRaw(TempBucket& bytes, const TempBucket& values);
  /// @return 1 for a character that decoding skips, otherwise 0
  virtual int _IsBadMimeChar(unsigned char c);

  unsigned char* decodeBuffer_ = nullptr;  // owned, C heap
  unsigned char* encodeBuffer_ = nullptr;  // owned, C heap
  std::uint32_t decodeCapacity_ = 0;
  std::uint32_t encodeCapacity_ = 0;
  std::uint32_t decodedLength_ = 0;
  std::uint32_t encodedLength_ = 0;

 private:
  // From the borrowed bytes in decodeBuffer_ to encodeBuffer_, by the virtual steps or without
  // them.
  void EncodeGroups();
  void EncodeExactly();
  // From the filtered text in encodeBuffer_ to decodeBuffer_, by the virtual steps.
  void DecodeGroups();
  // All of Decode without the virtual steps.
  void DecodeExactly(unsigned char* text, unsigned long length);
};

}  // namespace velmora

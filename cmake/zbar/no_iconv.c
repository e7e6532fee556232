/* iconv to UTF-8 from the two encodings that QR codes outside East Asia carry: UTF-8, which is
 * checked and copied, and ISO 8859-1. Every other encoding is refused, as the interface allows. */
#include <errno.h>
#include <iconv.h>
#include <string.h>

enum { kUtf8 = 1, kLatin1 = 2 };

iconv_t iconv_open(const char* to, const char* from) {
  if (strcmp(to, "UTF-8") == 0 && strcmp(from, "UTF-8") == 0) return (iconv_t)kUtf8;
  if (strcmp(to, "UTF-8") == 0 && strcmp(from, "ISO8859-1") == 0) return (iconv_t)kLatin1;
  errno = EINVAL;
  return (iconv_t)-1;
}

int iconv_close(iconv_t cd) {
  (void)cd;
  return 0;
}

/* The length of the valid UTF-8 sequence at `in`, or 0: no overlong form, no surrogate, nothing
 * above U+10FFFF. */
static size_t SequenceLength(const unsigned char* in, size_t left) {
  static const unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned lead = in[0];
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || length > left) return 0;
  unsigned point = lead & (0x7FU >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((in[i] & 0xC0) != 0x80) return 0;
    point = point << 6 | (in[i] & 0x3F);
  }
  if (point < kLeast[length] || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) return 0;
  return length;
}

size_t iconv(iconv_t cd, char** in, size_t* inLeft, char** out, size_t* outLeft) {
  while (*inLeft > 0) {
    const unsigned char byte = (unsigned char)**in;
    const size_t taken = cd == (iconv_t)kUtf8 ? SequenceLength((unsigned char*)*in, *inLeft) : 1;
    const size_t given = cd == (iconv_t)kUtf8 ? taken : byte < 0x80 ? 1 : 2;
    if (taken == 0) return errno = EILSEQ, (size_t)-1;
    if (given > *outLeft) return errno = E2BIG, (size_t)-1;
    if (given == taken) {
      memcpy(*out, *in, given);
    } else {
      (*out)[0] = (char)(0xC0 | byte >> 6);
      (*out)[1] = (char)(0x80 | (byte & 0x3F));
    }
    *in += taken;
    *inLeft -= taken;
    *out += given;
    *outLeft -= given;
  }
  return 0;
}

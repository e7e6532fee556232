// Of a program without run-time type information.
#include <velmora/velmora.h>

#include <cstdio>

class Codec : public velmora::CBase64 {
  int _IsBadMimeChar(unsigned char c) override { return c == '.' ? 1 : 0; }
};

int main() {
  Codec codec;
  codec.Encode("Man");
  std::printf("%.4s\n", codec.EncodedMessage());
  codec.Decode("T.WFu");
  std::printf("%.3s\n", reinterpret_cast<const char*>(codec.DecodedMessage()));
  char* text = nullptr;
  Nx_CopyCharArray(Nc_GetErrorString(-10026), &text);
  std::printf("%s %g %s\n", text, Nc_Sqrt(9), Nx_GetLibVersion());
  Nx_DeleteCharArray(&text);
}

// A module that uses the log and the error table of its process.
#include <velmora/velmora.h>

extern "C" const char* Tell(const char* who) {
  VELMORA_LOG_TEXT(1, "told by %s", who);
  velmora::SetLogImgName(who);
  return velmora::Nc_GetErrorString(velmora::EC_Timeout);
}

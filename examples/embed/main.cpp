// Prints the codes of a picture; of tools/capture/samples/label.jpg:
//
//   QR: label: pallet 7
//   EAN-13: 4012345678901
//   CODE-128: PALLET-0007
//   DataMatrix: cell 3
#include <iostream>
#include <vector>

#include "velmora_capture/capture.h"

using namespace velmora::capture;

static void Print(const CodeItem& code) {
  std::cout << code.GetSymbology() << ": " << code.GetText() << "\n";
}

int main(int argc, char** argv) {
  std::vector<TemplateError> errors;
  const auto capture = Capture::Create(GetDefaultTemplate(), {}, errors);
  for (const TemplateError& error : errors) std::cerr << error.ToString() << "\n";
  if (capture == nullptr) return 1;
  const auto result = capture->ReadFile(argc > 1 ? argv[1] : "label.jpg");
  for (int i = 0; i < result->GetCodeCount(); ++i) Print(result->GetCode(i));
  if (result->GetErrorCode() == 0) return 0;
  std::cerr << result->GetErrorString() << "\n";
  return 1;
}

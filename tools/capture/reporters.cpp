#include "tools/capture/reporters.h"

#include <json/value.h>

#include <iomanip>

#include "tools/capture/file_source.h"
#include "tools/capture/result_json.h"
#include "tools/capture/text.h"
#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

// In quotes where something in it would end the field.
std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string out = "\"";
  for (const char c : text) out.append(c == '"' ? 2 : 1, c);
  return out + "\"";
}

}  // namespace

const std::string& NameOf(const CaptureResult& result) {
  return GetSourceRecord(result.GetSourceImageTag()).name;
}

int IdOf(const CaptureResult& result) {
  return result.GetSourceImageTag()->GetImageId();
}

void WriteText(std::ostream& out, const CaptureResult& result) {
  if (result.GetWidth() == 0) return;  // there is nothing but its errors
  const int count = result.GetCodeCount();
  out << Printable(NameOf(result)) << ": " << result.GetWidth() << "x" << result.GetHeight() << ", "
      << (count == 0 ? "no code" : std::to_string(count) + " code") << (count > 1 ? "s" : "")
      << "\n";
  for (int i = 0; i < count; ++i) {
    const CodeItem& code = result.GetCode(i);
    out << "    " << std::left << std::setw(11) << code.GetSymbology() << " "
        << Printable(code.GetText()) << "\n";
  }
}

void WriteJsonLine(std::ostream& out, const CaptureResult& result) {
  out << FormatJsonLine(result, NameOf(result), IdOf(result)) << "\n";
}

void WriteCsvHeadings(std::ostream& out) {
  out << "id,image,symbology,text,x1,y1,x2,y2,x3,y3,x4,y4,definition,task\n";
}

void WriteCsvLines(std::ostream& out, const CaptureResult& result) {
  for (int i = 0; i < result.GetCodeCount(); ++i) {
    const CodeItem& code = result.GetCode(i);
    out << IdOf(result) << "," << CsvField(NameOf(result)) << "," << CsvField(code.GetSymbology())
        << "," << CsvField(code.GetText());
    for (const auto& corner : code.GetLocation().points) {
      out << "," << corner[0] << "," << corner[1];
    }
    out << "," << CsvField(code.GetTargetROIDefName()) << "," << CsvField(code.GetTaskName())
        << "\n";
  }
}

std::string DescribeError(const CaptureError& error) {
  std::string out;
  if (!error.task.empty()) out += "{" + error.definition + "}[" + error.task + "]: ";
  out += Nc_GetErrorString(error.code);
  if (!error.text.empty()) out += " " + Printable(error.text);
  return out + " (" + std::to_string(error.code) + ")";
}

void WriteErrors(std::ostream& out, const CaptureResult& result) {
  for (const CaptureError& error : result.GetErrors()) {
    out << Printable(NameOf(result)) << ": " << DescribeError(error) << "\n";
  }
}

}  // namespace velmora::capture

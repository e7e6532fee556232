/// @file
/// The numeric error codes of all modules, and their messages.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

namespace velmora {

/// What an operation returns or records: 0 is success, every failure is negative.
///
/// One enumerator for each row of the message table, codes that only other modules raise included.
/// The numbering has gaps.
enum ErrorCode : std::int32_t {
  EC_Ok = 0,

  // general: memory, files, images, templates, parameters
  EC_Unknown = -10000,
  EC_NoMemory = -10001,
  EC_NullPointer = -10002,
  EC_FileNotFound = -10005,
  EC_FileTypeNotSupported = -10006,
  EC_BppNotSupported = -10007,
  EC_IndexInvalid = -10008,
  EC_RegionInvalid = -10010,
  EC_ImageReadFailed = -10012,
  EC_TiffReadFailed = -10013,
  EC_DibBufferInvalid = -10018,
  EC_PdfReadFailed = -10021,
  EC_PdfDllMissing = -10022,
  EC_PageNumberInvalid = -10023,
  EC_CustomSizeInvalid = -10024,
  EC_Timeout = -10026,
  EC_JsonParseFailed = -10030,
  EC_JsonTypeInvalid = -10031,
  EC_JsonKeyInvalid = -10032,
  EC_JsonValueInvalid = -10033,
  EC_JsonNameKeyMissing = -10034,
  EC_JsonNameValueDuplicated = -10035,
  EC_TemplateNameInvalid = -10036,
  EC_NameReferenceInvalid = -10037,
  EC_ParameterValueInvalid = -10038,
  EC_SetModeArgumentFailed = -10051,
  EC_GetModeArgumentFailed = -10055,
  EC_FileSaveFailed = -10058,
  EC_StageTypeInvalid = -10059,
  EC_ImageOrientationInvalid = -10060,
  EC_TemplateNotSimplifiable = -10061,
  EC_CallRejectedWhileCapturing = -10062,
  EC_ImageSourceNotFound = -10063,
  EC_ReadDirectoryFailed = -10064,
  EC_ModuleNotFound = -10065,
  EC_MultiPageFileNotSupported = -10066,
  EC_FileAlreadyExists = -10067,
  EC_FileCannotBeCreated = -10068,
  EC_ImageDataParameterInvalid = -10069,
  EC_ImageSizeNotMet = -10070,
  EC_ImagePixelFormatNotMet = -10071,
  EC_SectionResultIrreplaceable = -10072,
  EC_AxisDefinitionIncorrect = -10073,
  EC_ResultTypeMismatchIrreplaceable = -10074,
  EC_PdfLibraryLoadFailed = -10075,
  EC_UnsupportedJsonKeyIgnored = -10077,
  EC_ModelFileNotFound = -10078,
  EC_RectangleInvalid = -10080,
  EC_TemplateVersionIncompatible = -10081,
  EC_PortraitZoneNotLocated = -10082,

  // barcode reading
  EC_BarcodeFormatInvalid = -30009,
  EC_CustomModuleSizeInvalid = -30025,
  EC_FrameDecodingThreadExists = -30049,
  EC_StopFrameDecodingThreadFailed = -30050,

  // text-line recognition
  EC_CharacterModelFileNotFound = -40100,
  EC_TextLineGroupLayoutConflict = -40101,
  EC_TextLineGroupRegexConflict = -40102,

  // quadrilaterals
  EC_QuadrilateralInvalid = -50057,

  // code parsing
  EC_ResourcePathNotFound = -90001,
  EC_ResourceLoadFailed = -90002,
  EC_CodeSpecificationNotFound = -90003,
  EC_SourceStringEmpty = -90004,
  EC_CodeStringPreprocessFailed = -90005,
};

}  // namespace velmora

extern "C" {

/// The English message of an error code.
/// @param errorCode  any number; one without a row of its own gives "Unknown error."
/// @return a constant, never null, never to be freed
/// @threadsafety any thread
VELMORA_EXPORT const char* Nc_GetErrorString(int errorCode);
}

namespace velmora {
using ::Nc_GetErrorString;
}  // namespace velmora

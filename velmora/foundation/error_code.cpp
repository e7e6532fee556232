#include "velmora/foundation/error_code.h"

#include <algorithm>
#include <iterator>

namespace velmora {
namespace {

struct ErrorMessage {
  std::int32_t code;
  const char* text;
};

// The wording is fixed, with its "Json" beside "JSON" and its missing blanks.
constexpr ErrorMessage kErrorMessages[] = {
    {EC_Ok, "Successful."},
    {EC_Unknown, "Unknown error."},
    {EC_NoMemory, "Not enough memory to perform operation."},
    {EC_NullPointer, "Null pointer."},
    {EC_FileNotFound, "The file is not found."},
    {EC_FileTypeNotSupported, "The file type is not supported."},
    {EC_BppNotSupported, "The BPP(Bits per pixel) is not supported."},
    {EC_IndexInvalid, "The index is invalid."},
    {EC_RegionInvalid, "The input region value parameter is invalid."},
    {EC_ImageReadFailed, "Failed to read the image."},
    {EC_TiffReadFailed, "Failed to read the TIFF image."},
    {EC_DibBufferInvalid, "The DIB(Device-independent bitmaps) buffer is invalid."},
    {EC_PdfReadFailed, "Failed to read the PDF image."},
    {EC_PdfDllMissing, "The PDF DLL is missing."},
    {EC_PageNumberInvalid, "The page number is invalid."},
    {EC_CustomSizeInvalid, "The custom size is invalid."},
    {EC_Timeout, "Operation timeout."},
    {EC_JsonParseFailed, "Json parse failed."},
    {EC_JsonTypeInvalid, "Json type is invalid."},
    {EC_JsonKeyInvalid, "Json key is invalid."},
    {EC_JsonValueInvalid, "Json value is invalid or value out of range."},
    {EC_JsonNameKeyMissing, "The mandatory key \"Name\" is missing."},
    {EC_JsonNameValueDuplicated, "The value of the key \"Name\" is duplicated."},
    {EC_TemplateNameInvalid, "The template name is invalid."},
    {EC_NameReferenceInvalid, "The name reference is invalid."},
    {EC_ParameterValueInvalid, "The parameter value is invalid or out of range."},
    {EC_SetModeArgumentFailed, "Failed to set mode's argument."},
    {EC_GetModeArgumentFailed, "Failed to get mode's argument."},
    {EC_FileSaveFailed, "Failed to save the file."},
    {EC_StageTypeInvalid, "The Stage type is invalid."},
    {EC_ImageOrientationInvalid, "The image orientation is invalid."},
    {EC_TemplateNotSimplifiable, "Complex template can't be converted to simplified settings."},
    {EC_CallRejectedWhileCapturing, "Failed to call the function while capturing in progress."},
    {EC_ImageSourceNotFound, "The input image source was not found."},
    {EC_ReadDirectoryFailed, "Failed to read directory."},
    {EC_ModuleNotFound, "The module was not found."},
    {EC_MultiPageFileNotSupported,
     "The API does not support multi-page files. Please use CaptureMultiPages instead."},
    {EC_FileAlreadyExists, "The file already exists but overwriting is disabled."},
    {EC_FileCannotBeCreated,
     "The file path does not exist but cannot be created, or the file cannot be created for any "
     "other reason."},
    {EC_ImageDataParameterInvalid, "The input ImageData object contains invalid parameter(s)."},
    {EC_ImageSizeNotMet, "The size of the input image does not meet the requirements."},
    {EC_ImagePixelFormatNotMet,
     "The pixel format of the input image does not meet the requirements."},
    {EC_SectionResultIrreplaceable, "The section level result is irreplaceable."},
    {EC_AxisDefinitionIncorrect, "The axis definition is incorrect."},
    {EC_ResultTypeMismatchIrreplaceable, "The result is not replaceable due to type mismatch."},
    {EC_PdfLibraryLoadFailed, "Failed to load the PDF library."},
    {EC_UnsupportedJsonKeyIgnored,
     "One or more unsupported JSON keys were encountered and ignored from the template."},
    {EC_ModelFileNotFound, "Model file is not found."},
    {EC_RectangleInvalid, "The rectangle is invalid."},
    {EC_TemplateVersionIncompatible,
     "The template version is incompatible. Please use a compatible template."},
    {EC_PortraitZoneNotLocated, "The portrait zone could not be located on the identity document."},
    {EC_BarcodeFormatInvalid, "The barcode format is invalid."},
    {EC_CustomModuleSizeInvalid, "The custom module size is invalid."},
    {EC_FrameDecodingThreadExists, "The frame decoding thread already exists."},
    {EC_StopFrameDecodingThreadFailed, "Failed to stop the frame decoding thread."},
    {EC_CharacterModelFileNotFound, "Character Model file is not found."},
    {EC_TextLineGroupLayoutConflict, "There is a conflict in the layout of TextLineGroup."},
    {EC_TextLineGroupRegexConflict, "There is a conflict in the regex of TextLineGroup."},
    {EC_QuadrilateralInvalid, "The quadrilateral is invalid."},
    {EC_ResourcePathNotFound, "The resource path does not exist."},
    {EC_ResourceLoadFailed, "Failed to load resource."},
    {EC_CodeSpecificationNotFound, "The code specification is not found."},
    {EC_SourceStringEmpty, "The source string is empty."},
    {EC_CodeStringPreprocessFailed, "Failed to preprocess the full code string."},
};

}  // namespace
}  // namespace velmora

const char* Nc_GetErrorString(int errorCode) {
  const auto* row = std::find_if(
      std::begin(velmora::kErrorMessages), std::end(velmora::kErrorMessages),
      [errorCode](const velmora::ErrorMessage& message) { return message.code == errorCode; });
  return row != std::end(velmora::kErrorMessages) ? row->text : "Unknown error.";
}

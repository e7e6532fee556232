/// @file
/// Image in, results out, for C and for every language that can call C.
///
/// Who frees what: a handle (`velmora_capture`, `velmora_result`, `velmora_template_errors`,
/// `velmora_statistics`) belongs to the caller of the function that stored it and is freed with
/// that type's own function, which accepts null; a result that a callback receives is borrowed for
/// the call, unless the callback retains it. Every text is owned by the handle it was read from,
/// lives as long as that handle, is UTF-8, ends in NUL and is never freed by the caller. Arguments
/// are borrowed for the call. A buffer that is lent together with a release function is borrowed
/// until that function is called, which happens exactly once, even if the call fails.
///
/// Functions return 0 or a negative code of the error table (`velmora_error_string`), and a count
/// or such a code where they count. A null pointer, an index out of range, a structure of a wrong
/// size or a value out of range gives a code and changes nothing; a handle is not checked, except
/// against null. Nothing is thrown, printed or aborted. A handle or text that a
/// function stores is null if the function fails, unless its comment says otherwise.
///
/// Each structure begins with its size, which the caller sets (`velmora_code code = {.size = sizeof
/// code}`), whether the structure goes in or comes out: a later version may append members. Members
/// left 0 stand for the default.
///
/// Threads: every function from any thread, except that a handle is freed when no other call uses
/// it.
///
///     velmora_capture* capture;
///     velmora_result* result;
///     if (velmora_capture_create(NULL, NULL, &capture, NULL) == 0) {
///       if (velmora_capture_read_file(capture, "label.jpg", &result) == 0) ...
///       velmora_result_release(result);
///       velmora_capture_destroy(capture);
///     }
#ifndef VELMORA_CAPTURE_C_VELMORA_CAPTURE_H_
#define VELMORA_CAPTURE_C_VELMORA_CAPTURE_H_

// NOLINTBEGIN(modernize-deprecated-headers): C has no others
#include <stddef.h>
#include <stdint.h>
// NOLINTEND(modernize-deprecated-headers)

#if defined(_WIN32)
#define VELMORA_C_CALL __cdecl
#if defined(VELMORA_CAPTURE_BUILDING)
#define VELMORA_C_API __declspec(dllexport)
#else
#define VELMORA_C_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELMORA_C_CALL
#define VELMORA_C_API __attribute__((visibility("default")))
#else
#define VELMORA_C_CALL
#define VELMORA_C_API
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/// The version of this interface that a program was compiled with. It is raised when existing
/// functions or members change their meaning; appending to the interface keeps it.
#define VELMORA_CAPTURE_ABI_VERSION 1

/// The version that the library implements: equal to `VELMORA_CAPTURE_ABI_VERSION`, or the two do
/// not fit together.
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_abi_version(void);

/// The version of the library, "major.minor.patch.build"; a constant.
VELMORA_C_API const char* VELMORA_C_CALL velmora_version(void);

/// The English message of a code; a constant, never null.
VELMORA_C_API const char* VELMORA_C_CALL velmora_error_string(int32_t code);

// ---- a capture -------------------------------------------------------------------------------

/// A template, made ready to take images.
typedef struct velmora_capture velmora_capture;

/// What is wrong with a template.
typedef struct velmora_template_errors velmora_template_errors;

typedef struct velmora_capture_options {
  uint32_t size;
  int32_t threads;     ///< at most 1024; 0 for as many as there are processors
  int32_t timeout_ms;  ///< time budget of an image; 0 for the template's
  uint32_t module_folder_count;
  const char* const* module_folders;  ///< searched first for modules
  const char* template_name;  ///< stands for the template in errors; null for the file's name
} velmora_capture_options;

/// Reads a template, loads its modules and starts the threads.
///
/// @param template_text  JSON; null for the template that reads every code the modules can read
/// @param options        null for the defaults
/// @param capture        receives the handle, freed with `velmora_capture_destroy`
/// @param errors         receives what is wrong with the template, freed with
///                       `velmora_template_errors_release`, or null if the template is not at
///                       fault; may be null
/// @return 0, or the code of the first error
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_create(const char* template_text,
                                                            const velmora_capture_options* options,
                                                            velmora_capture** capture,
                                                            velmora_template_errors** errors);

/// `velmora_capture_create` with the text of a file.
VELMORA_C_API int32_t VELMORA_C_CALL
velmora_capture_create_from_file(const char* path, const velmora_capture_options* options,
                                 velmora_capture** capture, velmora_template_errors** errors);

/// Cancels what is in flight, waits until every callback has returned, stops the threads and frees
/// the handle. Results stay valid.
///
/// @return 0; -10062 in a callback of this capture, which stays as it is
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_destroy(velmora_capture* capture);

/// Ends the work on all images that were accepted until now; their results say so. Images that come
/// later wait until that work has ended.
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_cancel(velmora_capture* capture);

/// Sentences about tasks that were left out because their module is missing.
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_note_count(const velmora_capture* capture);
/// @param note  receives a text that lives as long as @p capture
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_get_note(const velmora_capture* capture,
                                                              int32_t index, const char** note);

typedef struct velmora_template_error {
  uint32_t size;
  int32_t code;
  int32_t line;    ///< from 1
  int32_t column;  ///< from 1, in bytes
  const char* file;
  const char* path;     ///< like "Definitions[1].Tasks[0].Module"; empty for the whole text
  const char* message;  ///< what is wrong there
  const char* text;     ///< all of this in one line
} velmora_template_error;

VELMORA_C_API int32_t VELMORA_C_CALL
velmora_template_errors_count(const velmora_template_errors* errors);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_template_errors_get(
    const velmora_template_errors* errors, int32_t index, velmora_template_error* error);
VELMORA_C_API void VELMORA_C_CALL velmora_template_errors_release(velmora_template_errors* errors);

// ---- images in -------------------------------------------------------------------------------

/// The result of one image. Counted: it is created with one reference.
typedef struct velmora_result velmora_result;

/// The formats of pixels, the first byte in memory first; docs/images.md has the details.
enum {
  VELMORA_PIXELS_BINARY = 0,           ///< 1 bit per pixel, most significant first; 0 is black
  VELMORA_PIXELS_BINARY_INVERTED = 1,  ///< the same; 0 is white
  VELMORA_PIXELS_GREY8 = 2,
  VELMORA_PIXELS_NV21 = 3,              ///< luminance plane, then V, U pairs
  VELMORA_PIXELS_BGR565 = 4,            ///< little-endian word, red in the high bits
  VELMORA_PIXELS_BGR555 = 5,            ///< little-endian word, red in bits 10 to 14
  VELMORA_PIXELS_BGR = 6,               ///< 24 bits
  VELMORA_PIXELS_BGRA = 7,              ///< 32 bits
  VELMORA_PIXELS_BGR16 = 8,             ///< three little-endian words
  VELMORA_PIXELS_RGBA16 = 9,            ///< four little-endian words
  VELMORA_PIXELS_RGBA = 10,             ///< 32 bits
  VELMORA_PIXELS_BGRA16 = 11,           ///< four little-endian words
  VELMORA_PIXELS_RGB = 12,              ///< 24 bits
  VELMORA_PIXELS_BINARY8 = 13,          ///< one byte per pixel, two values
  VELMORA_PIXELS_NV12 = 14,             ///< luminance plane, then U, V pairs
  VELMORA_PIXELS_BINARY8_INVERTED = 15  ///< the same, inverted
};

typedef struct velmora_image {
  uint32_t size;
  int32_t format;       ///< one of VELMORA_PIXELS_...
  int32_t width;        ///< pixels, at least 1
  int32_t height;       ///< pixels, at least 1
  int32_t stride;       ///< bytes from a row to the next; 0 if rows have no padding
  int32_t orientation;  ///< rotation of the image in degrees: 0, 90, 180 or 270
  const void* pixels;
  size_t length;  ///< bytes at `pixels`; too few for the format, size and stride are an error
} velmora_image;

/// Releases lent pixels. Called on any thread; it must not call the capture, nor throw: it runs in
/// destructors, so that what it throws ends the process.
typedef void(VELMORA_C_CALL* velmora_release_function)(void* user);

/// Receives a result on the delivery thread of the capture, one result at a time.
///
/// It must not throw, wait for work of this capture or destroy it; it may submit and cancel.
/// @param result  borrowed for the call; never null
typedef void(VELMORA_C_CALL* velmora_result_callback)(void* user, velmora_result* result);

/// Reads and decodes a file, captures the image and waits for the result.
///
/// @param result  receives the result, freed with `velmora_result_release`. It is there even if
///                the image has errors: what was found in spite of them is in it. Null only if no
///                result could be made.
/// @return the error of the image (`velmora_result_info::error_code`), or of the call; 0 if there
///         is none
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_read_file(velmora_capture* capture,
                                                               const char* path,
                                                               velmora_result** result);

/// Captures pixels and waits for the result, as `velmora_capture_read_file` does.
///
/// @param image    lent until the function returns
/// @param release  called once with @p user before the function returns; may be null
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_read(velmora_capture* capture,
                                                          const velmora_image* image,
                                                          velmora_release_function release,
                                                          void* user, velmora_result** result);

/// Queues pixels and returns; the result goes to @p callback.
///
/// @param image         its pixels are copied if @p release is null, and otherwise lent until it is
///                      called
/// @param release       called once with @p release_user when the pixels are needed no longer, even
///                      if this function fails
/// @param callback      called once with @p user if this function returns 0, and otherwise never
/// @param wait_ms       how long to wait for room; in a callback this function never waits
/// @return 0; -10062 if there was no room
VELMORA_C_API int32_t VELMORA_C_CALL velmora_capture_submit(
    velmora_capture* capture, const velmora_image* image, velmora_release_function release,
    void* release_user, velmora_result_callback callback, void* user, int32_t wait_ms);

// ---- results out -----------------------------------------------------------------------------

typedef struct velmora_result_info {
  uint32_t size;
  int32_t error_code;  ///< of the last error; 0 if there is none
  int32_t width;       ///< pixels of the image; 0 if it could not be read
  int32_t height;
  int32_t is_cancelled;  ///< 1 if `velmora_capture_cancel` ended the work
  int32_t reserved;
  int64_t job_number;  ///< counts the images of the capture from 0
  int64_t read_ns;     ///< reading and decoding the file
  int64_t convert_ns;  ///< converting to grey
  int64_t work_ns;     ///< the modules' work, all threads added up
  int64_t total_ns;    ///< from acceptance to the result
  const char* path;    ///< of the file; null for pixels
} velmora_result_info;

/// A code. Texts may hold NUL bytes; the lengths do not count the NUL that ends them.
typedef struct velmora_code {
  uint32_t size;
  int32_t corners[8];     ///< x and y of the four corners, clockwise, in pixels of the image
  const char* symbology;  ///< "EAN-13", "QR"
  const char* text;       ///< UTF-8 wherever the code's bytes are text
  size_t text_length;
  const unsigned char* bytes;  ///< the code's own bytes, before any interpretation as characters
  size_t bytes_length;
  const char* definition;  ///< of the template
  const char* task;        ///< of that definition
} velmora_code;

/// A region that a task found for other tasks to work on.
typedef struct velmora_region {
  uint32_t size;
  int32_t corners[8];  ///< as in `velmora_code`
  const char* definition;
  const char* task;
} velmora_region;

/// An error of an image: reading it failed, or a task reported it.
typedef struct velmora_image_error {
  uint32_t size;
  int32_t code;
  const char* text;        ///< more than the code's message; may be empty
  const char* definition;  ///< empty if no task reported it
  const char* task;
} velmora_image_error;

VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_get_info(const velmora_result* result,
                                                             velmora_result_info* info);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_code_count(const velmora_result* result);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_get_code(const velmora_result* result,
                                                             int32_t index, velmora_code* code);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_region_count(const velmora_result* result);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_get_region(const velmora_result* result,
                                                               int32_t index,
                                                               velmora_region* region);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_error_count(const velmora_result* result);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_get_error(const velmora_result* result,
                                                              int32_t index,
                                                              velmora_image_error* error);

/// The whole result as one JSON object in one line, without what differs from run to run.
/// @param json    receives the text
/// @param length  receives its length in bytes; may be null
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_get_json(const velmora_result* result,
                                                             const char** json, size_t* length);

/// Adds a reference, so that a result outlives the callback that received it.
VELMORA_C_API int32_t VELMORA_C_CALL velmora_result_retain(velmora_result* result);
/// Gives up a reference; the last one frees the result and its texts.
VELMORA_C_API void VELMORA_C_CALL velmora_result_release(velmora_result* result);

// ---- statistics ------------------------------------------------------------------------------

/// What a capture had done at one instant.
typedef struct velmora_statistics velmora_statistics;

/// offered == delivered + dropped + refused + queued
typedef struct velmora_image_counts {
  uint32_t size;
  uint32_t reserved;
  int64_t offered;
  int64_t delivered;
  int64_t dropped;
  int64_t refused;
  int64_t queued;
} velmora_image_counts;

typedef struct velmora_task_counts {
  uint32_t size;
  int32_t is_left_out;  ///< 1 if the task is optional and its module is missing
  int64_t runs;         ///< pieces of work that ended
  int64_t found;        ///< regions and codes
  int64_t nanoseconds;  ///< of the module's work, processor time where the system tells
  int64_t failures;     ///< errors other than time-outs
  int64_t timeouts;
  const char* definition;
  const char* task;
  const char* module;
} velmora_task_counts;

/// @param statistics  receives the handle, freed with `velmora_statistics_release`
VELMORA_C_API int32_t VELMORA_C_CALL
velmora_capture_get_statistics(const velmora_capture* capture, velmora_statistics** statistics);
VELMORA_C_API int32_t VELMORA_C_CALL
velmora_statistics_get_images(const velmora_statistics* statistics, velmora_image_counts* counts);
/// Tasks are listed in the order of the template.
VELMORA_C_API int32_t VELMORA_C_CALL
velmora_statistics_task_count(const velmora_statistics* statistics);
VELMORA_C_API int32_t VELMORA_C_CALL velmora_statistics_get_task(
    const velmora_statistics* statistics, int32_t index, velmora_task_counts* counts);
VELMORA_C_API void VELMORA_C_CALL velmora_statistics_release(velmora_statistics* statistics);

// ---- the log ---------------------------------------------------------------------------------

enum {
  VELMORA_LOG_IMAGES = 1,  ///< image files
  VELMORA_LOG_LINES = 2    ///< text lines and JSON records
};

typedef struct velmora_log_options {
  uint32_t size;
  int32_t mode;            ///< VELMORA_LOG_... added up; 0 turns the log off
  int32_t level;           ///< lines up to this level are written; 9 is everything
  int32_t keep_in_memory;  ///< 1: keep text lines until `velmora_log_flush`; 0: write them at once
  const char* path;  ///< put before the file names as it is, so a folder ends in a separator; null
                     ///< for the current folder; opened as the system's narrow file functions do
} velmora_log_options;

/// Configures the log of the process, which is off until then.
VELMORA_C_API int32_t VELMORA_C_CALL velmora_log_configure(const velmora_log_options* options);

/// Writes the lines and records that are kept in memory.
/// @return 0; -10058 if the file refused them, and they are still kept
VELMORA_C_API int32_t VELMORA_C_CALL velmora_log_flush(void);

#if defined(__cplusplus)
}
#endif

#endif  // VELMORA_CAPTURE_C_VELMORA_CAPTURE_H_

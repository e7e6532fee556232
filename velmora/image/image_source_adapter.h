/// @file
/// The base of every image source: a bounded buffer between a producer and the recognition side.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "velmora/image/convert_data.h"
#include "velmora/image/image_data.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// What happens to an image that finds the buffer full. Any other value makes no room: the buffer
/// grows by one image beyond its limit and refuses the next.
enum BufferOverflowProtectionMode : std::int32_t {
  BOP_Block = 0,      ///< its producer waits until there is room or fetching stops
  BOP_DropOldest = 1  ///< the oldest image makes room, unless it is protected
};

/// Through this a source tells the application about an error. The source calls it; the library
/// never does.
class CImageSourceErrorListener {
 public:
  /// @param errorCode  an `ErrorCode`
  /// @param message    NUL-terminated, valid for the call
  virtual void OnImageSourceError(int errorCode, const char* message) = 0;

 protected:
  CImageSourceErrorListener() = default;
  CImageSourceErrorListener(const CImageSourceErrorListener&) = default;
  CImageSourceErrorListener& operator=(const CImageSourceErrorListener&) = default;
  ~CImageSourceErrorListener() = default;  // not virtual: nobody owns a listener through this class
};

/// What a source did so far, as it was at one instant:
/// offered == delivered + dropped + refused + buffered.
///
/// An image counts as offered from the moment its fate is known: not while its producer waits.
struct ImageSourceStatistics {
  std::uint64_t offered;    ///< given to `AddImageToBuffer`
  std::uint64_t delivered;  ///< handed out by `GetImage`
  std::uint64_t dropped;    ///< out of the buffer by overflow, `ClearBuffer` or `SetMaxImageCount`
  std::uint64_t refused;    ///< never buffered: idle, full, or stopped while waiting
  std::uint64_t buffered;   ///< in the buffer now
};

/// Base of all image sources. A camera feed, a file reader or an application's own producer derives
/// from it and pushes images in; the recognition side pulls them out, converted to a layout that it
/// works on.
///
///     class Camera : public CImageSourceAdapter {
///       bool HasMoreImages() const override { return true; }
///       void OnFrame(const CImageData& frame) { AddImageToBuffer(&frame, true); }
///     };
///
/// A source is idle until `StartFetching`: what is pushed before is destroyed at once. The buffer
/// drops the oldest image and hands out the newest. Images are destroyed, and their release
/// functions run, on whichever thread makes them superfluous, with no lock of the source held: a
/// release function may call the source.
///
/// @threadsafety every operation from any thread. No call begins once the destructor has begun,
///               except from release functions; of the calls that are under way then, only
///               `AddImageToBuffer` is waited for.
/// @throws std::system_error from every operation that locks, if the mutex cannot be taken
class VELMORA_EXPORT CImageSourceAdapter {
 public:
  CImageSourceAdapter(const CImageSourceAdapter&) = delete;
  CImageSourceAdapter& operator=(const CImageSourceAdapter&) = delete;

  /// Stops fetching for good, waits until no producer is inside `AddImageToBuffer`, then destroys
  /// the images that are still buffered. What their release functions push is refused. Not to be
  /// called from a release function: it would wait for itself. Allocates nothing.
  ///
  /// A derived class whose threads use its own members joins them in its own destructor.
  virtual ~CImageSourceAdapter();

  /// Whether images may still come. For the consumer; the library does not ask.
  virtual bool HasMoreImages() const = 0;

  virtual void StartFetching();

  /// Makes the source idle and lets go every producer that waits for room, even if fetching starts
  /// again at once; their images are destroyed. What is buffered stays.
  virtual void StopFetching();

  /// Takes the newest image out of the buffer, ends the protection of `SetNextImageToReturn` and
  /// converts it with `Nx_ConvertImageData` for the usage set here.
  ///
  /// @return owned by the caller: the converted image, or the very one that was buffered if it
  ///         needs no conversion or cannot be converted; null if the buffer is empty
  /// @throws std::bad_alloc; the image is gone then
  [[nodiscard]] virtual CImageData* GetImage();

  /// The number of images the buffer holds at most; 1 at first, 0 or less refuses every image.
  ///
  /// If the buffer holds more than @p count, the newest in excess leave it without being destroyed.
  /// They belong again to the producers that pushed them; of an image that was pushed as a copy no
  /// producer has the pointer, so the copy is lost. To keep that from happening take the images out
  /// first, with `GetImage` or `ClearBuffer`. A negative count takes nothing out.
  void SetMaxImageCount(int count);
  int GetMaxImageCount() const noexcept;

  void SetBufferOverflowProtectionMode(BufferOverflowProtectionMode mode) noexcept;
  /// `BOP_DropOldest` at first.
  BufferOverflowProtectionMode GetBufferOverflowProtectionMode() const noexcept;

  /// The usage for which `GetImage` converts; `CCU_Unrestricted` at first.
  void SetColourChannelUsageType(ColourChannelUsageType usage) noexcept;
  ColourChannelUsageType GetColourChannelUsageType() const noexcept;

  /// Whether an image whose tag has that id is buffered. -1 stands for no id and matches none.
  bool HasImage(int imageId) const;

  /// Moves the first image, from the oldest on, whose tag has that id to the place of the oldest:
  /// the next one for a derived source that hands out the oldest first. `GetImage` of this class
  /// goes on returning the newest.
  ///
  /// @param keepInBuffer  protects the image from being dropped until the next `GetImage`. What is
  ///                      protected is the id: the protection outlives `ClearBuffer` and holds for
  ///                      a later image with the same id
  /// @return false if there is none; nothing changes then
  bool SetNextImageToReturn(int imageId, bool keepInBuffer);

  /// Takes no lock; the count of an instant.
  int GetImageCount() const noexcept;
  bool IsBufferEmpty() const;

  /// Destroys every buffered image. Allocates nothing.
  void ClearBuffer();

  /// @param listener  borrowed until it is replaced; may be null
  void SetErrorListener(CImageSourceErrorListener* listener) noexcept;

  /// Takes no lock and never makes a producer wait.
  ImageSourceStatistics GetStatistics() const noexcept;

 protected:
  CImageSourceAdapter();

  /// Offers an image to the buffer. Null does nothing.
  ///
  /// @param copyImage  true: the image is borrowed for the call and a deep copy buffered, of as
  ///                   many bytes as `GetBytesLength()` says: none if that is 0;
  ///                   false: it is taken over, whatever becomes of it
  /// @throws std::bad_alloc
  void AddImageToBuffer(const CImageData* image, bool copyImage);

  /// Null if none is set.
  CImageSourceErrorListener* GetErrorListener() const noexcept;

 private:
  class State;

  std::unique_ptr<State> state_;
  std::atomic<CImageSourceErrorListener*> errorListener_{nullptr};
};

}  // namespace velmora::basic_structures

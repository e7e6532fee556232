#include "tests/memory/failing_memory.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>

#if defined(_WIN32)
#include <malloc.h>
#include <windows.h>

#include <psapi.h>

#include <cstring>
#include <string>
#endif

namespace {

std::atomic<long> successesLeft{LONG_MAX};
std::atomic<bool> failsForGood{false};
std::atomic<long> failures{0};
std::atomic<long> liveBlocks{0};

bool Fails() {
  if (successesLeft.load(std::memory_order_relaxed) == LONG_MAX) return false;
  const long left = successesLeft.fetch_sub(1, std::memory_order_relaxed);
  if (left > 0 || (left < 0 && !failsForGood)) return false;
  ++failures;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block) {
  if (block != nullptr) ++liveBlocks;
  return block;
}

// What becomes of the count when a block may have moved, grown out of nothing, or gone.
void* Recounted(void* old, std::size_t size, void* block) {
  if (old == nullptr) return Counted(block);
  if (size == 0 && block == nullptr) --liveBlocks;
  return block;
}

}  // namespace

namespace velmora::testing {

void StartFailing(long successes, bool forGood) {
  failures = 0;
  failsForGood = forGood;
  successesLeft = successes;
}

long StopFailing() {
  successesLeft = LONG_MAX;
  return failures;
}

long CountLiveBlocks() {
  return liveBlocks;
}

}  // namespace velmora::testing

#if defined(_WIN32)

namespace {

void* Malloc(std::size_t size) {
  return Fails() ? nullptr : Counted(std::malloc(size));
}
void* Calloc(std::size_t count, std::size_t size) {
  return Fails() ? nullptr : Counted(std::calloc(count, size));
}
void* Realloc(void* old, std::size_t size) {
  return size != 0 && Fails() ? nullptr : Recounted(old, size, std::realloc(old, size));
}
void* AlignedMalloc(std::size_t size, std::size_t alignment) {
  return Fails() ? nullptr : Counted(_aligned_malloc(size, alignment));
}
char* Duplicate(const char* text) {
  return static_cast<char*>(Fails() ? nullptr : Counted(_strdup(text)));
}
void Free(void* block) {
  if (block != nullptr) --liveBlocks;
  std::free(block);
}
void AlignedFree(void* block) {
  if (block != nullptr) --liveBlocks;
  _aligned_free(block);
}

struct Substitute {
  const char* name;
  void* function;
};
const Substitute kSubstitutes[] = {
    {"malloc", reinterpret_cast<void*>(&Malloc)},
    {"calloc", reinterpret_cast<void*>(&Calloc)},
    {"realloc", reinterpret_cast<void*>(&Realloc)},
    {"free", reinterpret_cast<void*>(&Free)},
    {"_strdup", reinterpret_cast<void*>(&Duplicate)},
    {"strdup", reinterpret_cast<void*>(&Duplicate)},
    {"_aligned_malloc", reinterpret_cast<void*>(&AlignedMalloc)},
    {"_aligned_free", reinterpret_cast<void*>(&AlignedFree)},
};

// Writes the substitutes into the table through which a module calls other modules.
void PatchImports(HMODULE module) {
  auto* const base = reinterpret_cast<unsigned char*>(module);
  const auto at = [base](DWORD offset) { return base + offset; };
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers =
      reinterpret_cast<const IMAGE_NT_HEADERS*>(at(static_cast<DWORD>(dos->e_lfanew)));
  const IMAGE_DATA_DIRECTORY& table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (table.VirtualAddress == 0) return;
  auto* imported = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(at(table.VirtualAddress));
  for (; imported->Name != 0; ++imported) {
    if (_stricmp(reinterpret_cast<const char*>(at(imported->Name)), "msvcrt.dll") != 0) continue;
    const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(at(imported->OriginalFirstThunk));
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(at(imported->FirstThunk));
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const char* const function = reinterpret_cast<const char*>(
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(at(name->u1.AddressOfData))->Name);
      for (const Substitute& substitute : kSubstitutes) {
        if (std::strcmp(function, substitute.name) != 0) continue;
        DWORD before = 0;
        VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
        slot->u1.Function = reinterpret_cast<std::size_t>(substitute.function);
        VirtualProtect(slot, sizeof *slot, before, &before);
      }
    }
  }
}

}  // namespace

namespace velmora::testing {

void TakeOverAllocation() {
  char system[MAX_PATH], path[MAX_PATH];
  const std::size_t length = GetWindowsDirectoryA(system, sizeof system);
  HMODULE modules[256];
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size);
  for (HMODULE* module = modules; module != modules + size / sizeof *module; ++module) {
    // This program keeps the real functions: the substitutes call them. So do those who unwind.
    if (*module == GetModuleHandleA(nullptr)) continue;
    GetModuleFileNameA(*module, path, sizeof path);
    if (_strnicmp(path, system, length) == 0 || std::strstr(path, "libgcc") != nullptr) continue;
    if (std::strstr(path, "libwinpthread") == nullptr) PatchImports(*module);
  }
}

}  // namespace velmora::testing

#else

// The program's functions come before the system's, for all libraries.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept {
  return Fails() ? nullptr : Counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  return Fails() ? nullptr : Counted(__libc_calloc(count, size));
}
void* realloc(void* old, std::size_t size) noexcept {
  return size != 0 && Fails() ? nullptr : Recounted(old, size, __libc_realloc(old, size));
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return Fails() ? nullptr : Counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
void free(void* block) noexcept {
  if (block != nullptr) --liveBlocks;
  __libc_free(block);
}
}

namespace velmora::testing {

void TakeOverAllocation() {}

}  // namespace velmora::testing

#endif

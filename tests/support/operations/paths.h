// Path functions and the module loader with any names, in a small tree of files.
#pragma once

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "tests/support/temporary_directory.h"
#include "velmora/foundation/error_code.h"
#include "velmora/util/module_loader.h"
#include "velmora/util/path_helper.h"

namespace velmora::testing {

class PathsScript {
 public:
  explicit PathsScript(Bytes& script) : script_(script) {}

  void Run() {
    while (!script_.IsEmpty()) Step();
  }

 private:
  // Made once: read only from then on.
  static const std::string& Tree() {
    static const TemporaryDirectory directory;
    static const std::string tree = [] {
      std::filesystem::create_directories(directory.GetPath() / "a" / "b");
      for (const char* name : {"page.pdf", "x.TXT", "a/.x", "a/b/y.txt", "a/b/z."}) {
        std::ofstream(directory / name) << "%PDF";
      }
      return directory / "";
    }();
    return tree;
  }

  // In the tree or below it.
  std::string Inside() {
    constexpr const char* kParts[] = {"a",     "b",   "/",  "page.pdf", "x.TXT", ".",
                                      "y.txt", "con", "\\", ":",        "*",     "nul"};
    std::string path = Tree();
    for (int parts = script_.Below(6); parts > 0; --parts) {
      const int part = script_.Byte();
      const bool isLetter = part >= 64;
      path += isLetter ? std::string(1, static_cast<char>(part))
                       : kParts[static_cast<std::size_t>(part) % std::size(kParts)];
    }
    for (std::size_t at; (at = path.find("..")) != path.npos;) path.erase(at, 1);
    return path;
  }

  // Any bytes, zeros included.
  std::string Name() {
    std::string name;
    for (int left = script_.Below(12); left > 0; --left) name += static_cast<char>(script_.Byte());
    return name;
  }

  void Step() {
    switch (script_.Below(6)) {
      case 0: {
        const std::string path = Inside();
        const PathHelper::PathType type = PathHelper::JudgePathType(path.c_str());
        VELMORA_REQUIRE(type >= PathHelper::PT_File && type <= PathHelper::PT_NotExist);
        VELMORA_REQUIRE(type != PathHelper::PT_NotExist || !PathHelper::IsPDFFile(path.c_str()));
        break;
      }
      case 1:
        return IsPdf(Name());
      case 2:
        return List(Inside());
      case 3: {
        const std::string path = Name();
        const std::string name = PathHelper::GetFileNameFromFilePath(path);
        VELMORA_REQUIRE(name.find_first_of("/\\") == name.npos);
        VELMORA_REQUIRE(path.size() >= name.size() &&
                        path.compare(path.size() - name.size(), name.npos, name) == 0);
        break;
      }
      case 4: {
        std::string out = "unchanged";
        if (!PathHelper::GetDLLDirectory(Name(), out)) VELMORA_REQUIRE(out == "unchanged");
        const std::string file = Name(), module = Name();
        PathHelper::GetINIPath(file, module, out);
        VELMORA_REQUIRE(out.size() > file.size());
        break;
      }
      default:
        return Load(Name());
    }
  }

  // On the heap and of exactly this size, so that the address sanitizer sees a byte too far.
  static void IsPdf(const std::string& text) {
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    const bool isPdf = PathHelper::IsPDFFile(bytes.data(), static_cast<int>(bytes.size()));
    VELMORA_REQUIRE(isPdf == (text.compare(0, 4, "%PDF") == 0));
  }

  void List(const std::string& directory) {
    const bool recursive = script_.Coin();
    const std::string filter = Name();
    const auto list = GetAllFiles(directory, recursive, filter.c_str());
    const std::vector<std::string>& files = list->GetVector();
    VELMORA_REQUIRE(files.size() <= 5);
    for (const std::string& file : files) {
      VELMORA_REQUIRE(file.compare(0, directory.size(), directory) == 0);
      VELMORA_REQUIRE(PathHelper::JudgePathType(file.c_str()) == PathHelper::PT_File);
    }
  }

  void Load(const std::string& name) {
    const int flags = script_.Byte();
    NxModuleLoaderBase loader;
    HINSTANCE module = nullptr;
    const int code =
        loader.LoadModule(name, module, 0, flags % 2 != 0, flags % 4 >= 2 ? name.c_str() : nullptr);
    VELMORA_REQUIRE(code == (module != nullptr ? EC_Ok : EC_ModuleNotFound));
    // No file has such a name.
    VELMORA_REQUIRE(module == nullptr || name.find('\0') == name.npos);
    NxModuleLoaderBase::releaseModule(module);
  }

  Bytes& script_;
};

inline void RunPaths(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  PathsScript(script).Run();
}

}  // namespace velmora::testing

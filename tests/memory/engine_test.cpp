// The operations of the engine, the utilities and the log without memory.
#include <json/value.h>

#include "tests/memory/core_objects.h"

namespace velmora::testing {
namespace {

using namespace basic_structures;
using std::to_string;

class Definition : public NxTargetROIDef {
 public:
  using NxTargetROIDef::SetParentDefNodes;
  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override {
    return new NxROIDefOutput(region, reference, semaphore);
  }
  void AppendWorkItems(NxROIDefOutput* /*output*/, ThreadPoolBase* /*pool*/) override {}
  bool IsROIDefOutputFinished(NxROIDefOutput* /*output*/) override { return true; }
  void DispatchROIDefOutput(NxROIDefOutput* /*output*/) override {}
};

class Graph : public NxDependencyGraph {
 public:
  int Run(const NxRef<NxRegionObject>& /*image*/, ThreadPoolBase* /*pool*/,
          NxSemaphore* /*semaphore*/) override {
    return 0;
  }
};

struct Cache : SourceImageCacheBase {
  Cache() { SetSourceImageObject(new NxSourceImageObject(MakeImage().get(), 1, 10)); }
  void CleanCache() override {}
};

struct Item : BufferedItemBase {
  BufferedItemType GetBufferedItemType() const override { return {}; }
};

// Three definitions of which the first is to become the child of the others.
using Family = std::array<NxRef<Definition>, 3>;

std::string LookFamily(const Family& family) {
  std::string text;
  for (const auto& member : family) {
    text += to_string(member->GetParentDefNodes().size()) +
            to_string(member->GetChildDefNodes().size()) +
            to_string(member->GetListeners().size()) + " ";
  }
  return text;
}

// A piece of work in a table, and the item that resolves it.
struct Piece {
  FunctionWork work{[](ExecutableWorkItem* item, NxSemaphore*) {
    item->SetWorkFinished();
    return EC_Ok;
  }};
  NxDataManagerPool managers;
  NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
  NxRef<NxWorkOutput> output = MakeWorkOutput(MakeRegion("page", MakeSource()), kLong, &work);
  NxSemaphore semaphore{0};

  Piece() {
    work.SetManagerPool(&managers);
    table->SetAllWorkModesCount(2);
  }
  std::string Look() const {
    return to_string(table->HasNextWorkOutput()) + to_string(output->GetResultCount()) +
           to_string(semaphore.GetValue());
  }
};

TEST(Memory, OfTheEngine) {
  const auto makeFamily = [] {
    auto* family = new Family;
    for (auto& member : *family) member = MakeRef<Definition>();
    return family;
  };
  const auto makeSetting = [] {
    return NxRef<NxTargetTaskSetting>(new NxTargetTaskSetting(kLong, kOther, TT_ATOMIC_0, 0));
  };
  const auto makeTaskOutput = [] {
    return new NxTaskOutput(MakeRegion("page", MakeSource()), nullptr, kLong, TT_ATOMIC_0, true, 2);
  };
  const auto makeItems = [] {
    auto* items = new BufferedItemManager;
    items->RegisterBufferedItemType({});
    items->SetMaxBufferedItems({}, 2);
    for (int i = 0; i < 2; ++i) items->AppendItem(new Item);
    return items;
  };
  const auto lookItems = [](const BufferedItemManager& manager) {
    const auto* items = manager.GetBufferedItemsUnlocked({});
    return to_string(items != nullptr ? items->size() : 99) +
           to_string(manager.GetMaxBufferedItems({}));
  };
  const auto lookSetting = [](const TargetROIDefSetting& setting) {
    return to_string(setting.GetTaskMap().size()) + to_string(setting.GetOutputTaskMap().size()) +
           to_string(setting.GetAllTaskNameMap().size());
  };
  const auto makePiece = [] {
    auto* piece = new Piece;
    piece->table->AppendNextWorkOutput(0, 0, piece->output);
    return piece;
  };
  const long points = RunOutOfMemory(
      "engine",
      {
          Changing(
              "AddTargetROIDefNode", kUnchanged, [] { return new Graph; },
              [](Graph& graph) {
                const NxRef<Definition> node = MakeRef<Definition>();
                graph.AddTargetROIDefNode(kLong, node.get());
              },
              [](const Graph& graph) {
                return to_string(graph.GetNodeNames().size()) +
                       to_string(graph.GetTargetDefNodesMap().size());
              }),
          Changing(
              "AddParentDefNode", kUnchanged, makeFamily,
              [](Family& family) { family[0]->AddParentDefNode(family[1].get()); }, LookFamily),
          Changing(
              "SetParentDefNodes", kUnchanged, makeFamily,
              [](Family& family) {
                family[0]->SetParentDefNodes({family[1].get(), family[2].get()});
              },
              LookFamily),
          Changing(
              "RegisterListener", kUnchanged, makeFamily,
              [](Family& family) { family[0]->RegisterListener(family[1].get()); }, LookFamily),
          Giving("NxTargetTaskSetting", makeSetting,
                 [](const auto& setting) { return setting->GetTaskFullName(); }),
          Changing(
              "AddTaskSetting", kUnchanged, [] { return new TargetROIDefSetting; },
              [=](auto& setting) { setting.AddTaskSetting(kLong, makeSetting()); }, lookSetting),
          Changing(
              "AddOutputTaskSetting", kUnchanged, [] { return new TargetROIDefSetting; },
              [=](auto& setting) { setting.AddOutputTaskSetting(kLong, makeSetting()); },
              lookSetting),
          Giving(
              "NxTargetROIDef(other)",
              [=] {
                const NxRef<Definition> other = MakeRef<Definition>();
                other->GetTargetDefSetting()->AddTaskSetting(kLong, makeSetting());
                return NxRef<Definition>(new Definition(*other));
              },
              [=](const auto& made) { return lookSetting(*made->GetTargetDefSetting()); }),
          Giving(
              "NxTaskOutput", [=] { return NxRef<NxTaskOutput>(makeTaskOutput()); },
              [](const auto& output) { return output->GetHashId() + output->GetTaskFullName(); }),
          Changing(
              "AddResult", kUnchanged,
              [=] {
                auto* output = makeTaskOutput();
                output->AddResult(new NxTaskOutputAtomResult);
                return output;
              },
              [](NxTaskOutput& output) {
                output.AddResult(new NxTaskOutputAtomResult(MakeRegion("result")));
              },
              [](const NxTaskOutput& output) { return to_string(output.GetResultCount()); }),
          Changing(
              "AddWorkOutput", kUnchanged, makeTaskOutput,
              [](NxTaskOutput& output) {
                output.AddWorkOutput(1, MakeWorkOutput(MakeRegion("page"), kLong));
              },
              [](const NxTaskOutput& output) {
                return to_string(output.GetWorkOutputs()[1].size());
              }),
          Changing(
              "SetResultsToFilter", kUnchanged, makeTaskOutput,
              [](NxTaskOutput& output) { output.SetResultsToFilter({MakeRegion("a")}); },
              [](const NxTaskOutput& output) {
                return to_string(output.GetResultsToFilter().size());
              }),
          Changing(
              "AppendResultsAsItem", kUnchanged, makeTaskOutput,
              [](NxTaskOutput& output) { output.AppendResultsAsItem(MakeRegion("a")); },
              [](const NxTaskOutput& output) {
                return to_string(output.GetResultsAsItem().size());
              }),
          Changing(
              "SetRemainWork", kUnchanged, makeTaskOutput,
              [](NxTaskOutput& output) {
                const NxRef<NxWorkOutput> work = MakeWorkOutput(MakeRegion("page"), kLong);
                output.SetRemainWork({new NxWorkOutputAtom(work, 0, 0, 0)});
              },
              [](const NxTaskOutput& output) { return to_string(output.GetRemainWork().size()); }),
          Changing(
              "NxROIDefOutput::AddTaskOutput", kUnchanged,
              [] { return new NxROIDefOutput(MakeRegion("page"), nullptr, nullptr); },
              [=](NxROIDefOutput& output) {
                output.AddTaskOutput(NxRef<NxTaskOutput>(makeTaskOutput()));
              },
              [](const NxROIDefOutput& output) { return to_string(output.GetOutputCount()); }),
          Changing(
              "AppendNextWorkOutput", kUnchanged, [] { return new Piece; },
              [](Piece& piece) { piece.table->AppendNextWorkOutput(1, 1, piece.output); },
              [](const Piece& piece) { return piece.Look(); }),
          Changing(
              "ResolvableWorkItem::Process", kUnchanged, makePiece,
              [](Piece& piece) {
                const NxRef<ResolvableWorkItem> item =
                    new ResolvableWorkItem(piece.table, &piece.semaphore, 0);
                item->Process(nullptr);
              },
              [](const Piece& piece) { return piece.Look(); }),
          Changing(
              "FinishWork", kUnchanged, makePiece,
              [](Piece& piece) {
                const NxRef<ExecutableWorkItem> item =
                    new ExecutableWorkItem(piece.output.get(), &piece.work, &piece.semaphore, 0);
                item->SetWorkFinished();
                item->FinishWork();
              },
              [](const Piece& piece) { return piece.Look(); }),
          Changing(
              "LoadActiveWorkUnit", kUsable, makePiece,
              [](Piece& piece) {
                std::vector<NxRef<ExecutableWorkItem>> items;
                auto& manager = *piece.managers.GetActiveWorkUnitManager();
                for (int i = 0; i < 5; ++i) {
                  items.push_back(
                      new ExecutableWorkItem(piece.output.get(), &piece.work, &piece.semaphore, 0));
                }
                try {
                  for (const auto& item : items) manager.LoadActiveWorkUnit(item.get());
                  manager.AddTimeCheckCountForActiveWorkUnit(1);
                } catch (const std::bad_alloc&) {
                  for (const auto& item : items) manager.UnloadActiveWorkUnit(item.get());
                  throw;
                }
                for (const auto& item : items) manager.UnloadActiveWorkUnit(item.get());
              },
              [](const Piece& piece) {
                return to_string(
                    piece.output->GetRegion()->GetSourceImageObject()->GetElapsedTime());
              }),
          Giving(
              "BufferedItemManager", [] { return std::make_unique<BufferedItemManager>(); },
              [](const auto& manager) {
                const std::string& id = manager->GetManagerID();
                return to_string(std::count(id.begin(), id.end(), '-')) + id.substr(0, 5);
              }),
          Changing(
              "AppendItem", kUnchanged, makeItems,
              [](BufferedItemManager& items) { items.AppendItem(new Item); }, lookItems),
          Changing(
              "SetMaxBufferedItems", kUnchanged, makeItems,
              [](BufferedItemManager& items) { items.SetMaxBufferedItems({}, 1); }, lookItems),
          Changing(
              "RegisterBufferedItemType", kUnchanged, [] { return new BufferedItemManager; },
              [](BufferedItemManager& items) { items.RegisterBufferedItemType({}); }, lookItems),
          Changing(
              "AddToCacheMap", kUnchanged, [] { return new DataCacheManager; },
              [](DataCacheManager& caches) {
                const NxRef<Cache> cache = new Cache;
                caches.AddToCacheMap(cache.get());
              },
              [](const DataCacheManager& caches) {
                const Cache cache;
                return to_string(
                    caches.GetFromCacheMap(cache.GetSourceImageObject()->GetHashID()) != nullptr);
              }),
          Changing(
              "NxSectionResultsCache::SetResults", kUnchanged,
              [] { return new NxSectionResultsCache; },
              [](auto& cache) {
                cache.SetResults({}, {MakeRegion("a"), MakeRegion("b")});
              },
              [](auto& cache) { return to_string(cache.GetResults({}).size()); }),
          Changing(
              "NxSectionResultsCache::PushBackResult", kUnchanged,
              [] { return new NxSectionResultsCache; },
              [](auto& cache) { cache.PushBackResult({}, MakeRegion("a")); },
              [](auto& cache) { return to_string(cache.GetResults({}).size()); }),
          Changing(
              "AddChildFlag", kUnchanged, [] { return new NxDependencyFinishFlag(kLong); },
              [](auto& flag) { flag.AddChildFlag(new NxDependencyFinishFlag(kOther)); },
              [](auto& flag) { return to_string(flag.GetChildFlags(kOther).size()); }),
          Changing(
              "AddRelatedOutputTask", kUnchanged, [] { return new NxDependencyFinishFlag(kLong); },
              [](auto& flag) { flag.AddRelatedOutputTask(nullptr); }, [](auto&) { return ""; }),
          Changing(
              "TaskUnitQueue::push", kUnchanged, [] { return new TaskUnitQueue; },
              [](TaskUnitQueue& queue) { queue.push(new ResolvableWorkItem(nullptr, nullptr, 0)); },
              [](const TaskUnitQueue& queue) { return to_string(queue.size()); }),
          Changing(
              "SemanticProcessor::AppendCpxTask", kUnchanged,
              [] { return new SemanticProcessor(kLong, nullptr); },
              [](auto& processor) { processor.AppendCpxTask(new CpxTaskObject(kLong, kOther)); },
              [](auto& processor) { return to_string(processor.GetCpxTasks().size()); }),
      });
  EXPECT_GT(points, 100);
}

TEST(Memory, OfUtilities) {
  static const TemporaryDirectory folder;
  std::filesystem::create_directory(folder.GetPath() / "below");
  for (const char* name : {"a file with a long name.txt", "below/another file, below.txt"}) {
    WriteFile(folder / name, "%PDF");
  }
  WriteFile(folder / "settings.ini", "[BARCODECONFIG]\nPath=" + kLong + "\nLevel=9\n");
  const auto same = [](const std::string& text) { return text; };
  static const std::string path = folder / "below";
  const long points = RunOutOfMemory(
      "util", {
                  Giving("CBase64",
                         [] {
                           CBase64 codec;
                           codec.Encode("some text");
                           const char* encoded = codec.EncodedMessage();
                           std::string text = encoded == nullptr ? "none" : encoded;
                           codec.Decode("c29tZSB0ZXh0");
                           const unsigned char* decoded = codec.DecodedMessage();
                           return text + (decoded == nullptr
                                              ? "none"
                                              : reinterpret_cast<const char*>(decoded));
                         },
                         same, {"nonenone", "nonesome text", "c29tZSB0ZXh0none"}),
                  Giving(
                      "GetAllFiles", [] { return GetAllFiles(folder / "", true, ".txt"); },
                      [](const auto& files) {
                        std::string text;
                        for (const std::string& file : files->GetVector()) text += file + "\n";
                        return text;
                      }),
                  Giving(
                      "GetFileNameFromFilePath",
                      [] { return PathHelper::GetFileNameFromFilePath(path + "/" + kLong); }, same),
                  Giving(
                      "GetEXEDirectory",
                      [] {
                        std::string out;
                        PathHelper::GetEXEDirectory(out);
                        return out;
                      },
                      same),
                  Giving(
                      "GetDLLDirectory",
                      [] {
                        std::string out;
                        PathHelper::GetDLLDirectory("VelmoraCorex86", out);
                        return out;
                      },
                      same),
                  Giving(
                      "GetINIPath",
                      [] {
                        std::string out;
                        PathHelper::GetINIPath("a name that is long.ini", "VelmoraCorex86", out);
                        return out;
                      },
                      same),
                  // Where the system finds no memory for a file, it cannot be read.
                  Giving("INI_IO::Load",
                         [] {
                           INI_IO ini;
                           return ini.Load((folder / "settings.ini").c_str())
                                      ? ini.GetValue("BARCODECONFIG", "Path")
                                      : "cannot be read";
                         },
                         same, {"cannot be read"}),
                  Giving("IsPDFFile",
                         [] {
                           const std::string name = folder / "a file with a long name.txt";
                           return to_string(PathHelper::IsPDFFile(name.c_str()));
                         },
                         same, {"0"}),
                  Giving(
                      "NxModuleLoaderBaseAuto",
                      [] {
                        NxModuleLoaderBaseAuto loader;
                        return loader.DynamicLoadDllFunc("a module that is not there", "function",
                                                         0, false, "VelmoraCore");
                      },
                      [](void* function) { return to_string(function != nullptr); }),
              });
  EXPECT_GT(points, 50);
}

TEST(Memory, OfTheLog) {
  NxLog& log = NxLog::GetInstance();
  static const TemporaryDirectory folder;
  static const std::string prefix = folder / "";
  static constexpr auto everything = static_cast<LogMode>(LM_Text | LM_Image);
  // The log is the process's: each run begins with an empty one.
  const auto make = [&](OutputMode mode) {
    return [&log, mode] {
      log.InitLogFromSetting(everything, 9, prefix.c_str());
      log.SetOutputMode(mode);
      log.OutputCacheLog(), log.OutputJsonLog();
      std::filesystem::remove(prefix + "VelmoraScanlyx.log");
      return new std::string;
    };
  };
  const auto flush = [&log] {
    log.OutputCacheLog(), log.OutputJsonLog();
    return std::regex_replace(ReadFile(prefix + "VelmoraScanlyx.log"),
                              std::regex("\\[TID:[^\\]]*\\][^\\]]*\\]"), "");
  };
  const auto text = [&](const std::string&) { return flush(); };
  static const Json::Value record = [] {
    Json::Value made(Json::objectValue);
    made["a key that is long"] = kLong;
    return made;
  }();
  static std::uint64_t number = 0;
  const long points = RunOutOfMemory(
      "log",
      {
          Giving(
              "GetStyledString", [=] { return JsonConverter::GetStyledString(record); },
              [](const std::string& styled) { return styled; }),
          // A line for which there is no memory is lost and counted.
          {"WriteTextLog to a file",
           kUnchanged,
           [=, &log] {
             const std::shared_ptr<std::string> nothing(make(OM_File)());
             return Trial{[&log] { log.WriteTextLog(1, "a line %d", 1); },
                          [=] { return text(*nothing); }};
           },
           {""}},
          {"WriteTextLog into the cache", kUnchanged,
           [=, &log] {
             const std::shared_ptr<std::string> nothing(make(OM_Cache)());
             const std::uint64_t lost = log.GetLostLineCount();
             return Trial{[&log] {  // so many that their memory is given back after them
                            int left = 10'000;
                            while (left-- > 0) log.WriteTextLog(1, "%s", kLong.c_str());
                          },
                          [=, &log] {
                            const std::string lines = flush();
                            return to_string(std::count(lines.begin(), lines.end(), '\n') +
                                             static_cast<long>(log.GetLostLineCount() - lost));
                          }};
           }},
          Changing(
              "AddJsonRecord", kUnchanged, make(OM_File),
              [=, &log](std::string&) { log.AddJsonRecord(record); }, text),
          {"AddJsonStage", kUnchanged,
           [=, &log] {
             const std::shared_ptr<std::string> nothing(make(OM_File)());
             number = log.AddJsonRecord(record);
             return Trial{[=, &log] { log.AddJsonStage(number, record); },
                          [=, &log] {  // puts a new one in the place of the record
                            const std::string seen = flush();
                            std::filesystem::remove(prefix + "VelmoraScanlyx.log");
                            number = log.AddJsonRecord(record);
                            return seen;
                          }};
           }},
          Changing(
              "InitLogFromSetting", kUnchanged, make(OM_File),
              [=, &log](std::string&) {
                log.InitLogFromSetting(LM_Text, 3, (prefix + "another-").c_str());
              },
              [&log](const std::string&) {
                return log.GetSavePath() + to_string(log.GetLevel()) + to_string(log.GetMode());
              }),
          Changing(
              "WriteImgLog", kUnchanged, make(OM_File),
              [&log](std::string& path) {
                path = log.WriteImgLog(nullptr, nullptr, "the name of an image.png", 1);
              },
              [](const std::string& path) { return path; }),
          Changing(
              "AddDirLayer", kUnchanged, make(OM_File),
              [&log](std::string& path) {
                log.AddDirLayer(kLong.c_str());
                path = "added";
              },
              [&log](const std::string& path) {
                const std::string layered = log.WriteImgLog(nullptr, nullptr, "x", 1);
                if (path == "added") log.PopDirLayer();
                return layered;
              }),
      });
  log.InitLogFromSetting(LM_None, 0, "");
  log.SetOutputMode(OM_File);
  EXPECT_GT(points, 50);
}

}  // namespace
}  // namespace velmora::testing

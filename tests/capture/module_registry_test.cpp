// Which file a module's name stands for, and which files are refused.
#include "velmora_capture/internal/module_registry.h"
#include "tests/support/test.h"
#include "velmora_capture/internal/dynamic_library.h"
#include "velmora_capture/internal/json_node.h"
#include "velmora_capture/internal/task_settings.h"
#include "velmora_capture/internal/template.h"

namespace velmora::capture {
namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr char kSuffix[] = "x86.dll";
#else
constexpr char kSuffix[] = ".so";
#endif

// UTF-8, as everywhere, whatever the system's own encoding of paths.
const std::string kFirst = fs::absolute(VELMORA_TEST_MODULES "/first").u8string();
const std::string kSecond = fs::absolute(VELMORA_TEST_MODULES "/second").u8string();

// Linux has words for what is wrong, Windows a number.
const char* Reason(const char* words) {
  return kSuffix[0] == '.' ? words : ": system error ";
}

TEST(ModuleRegistry, SaysWhyAModuleCannotBeUsed) {
  struct Row {
    const char* module;
    std::vector<std::string> wants;
  };
  const testing::TemporaryDirectory made;
  const auto make = [&](const char* module, const std::string& content) {
    testing::WriteFile(made / (module + std::string(kSuffix)), content);
  };
  std::string good = testing::ReadFile(kFirst + "/Good" + kSuffix);
  make("Empty", "");
  make("Half", good.substr(0, 0x3000));
  make("OtherSystem", good[0] == 'M' ? "\177ELF" + good.substr(4) : "MZ" + good.substr(2));
  // Two bytes tell the machine; 0xB7 is 64-bit ARM in the one format, unknown in the other.
  good[good[0] == 'M' ? static_cast<unsigned char>(good[0x3C]) + 4u : 18u] = '\xB7';
  make("OtherMachine", good);
  fs::create_directory(made / ("Folder" + std::string(kSuffix)));
  const ModuleRegistry registry({kFirst, kSecond, made / ""});
  for (const Row& row : {
           Row{"Nope",
               {"\"Nope\" was not found: there is no Nope", kFirst, kSecond, FolderOfProgram()}},
           Row{"OtherInterface",
               {"its interface number is 77", "version 5.6.7.8", "this library's is 2"}},
           Row{"NoInfo", {"does not export VelmoraModuleInfo"}},
           Row{"NoFactory", {"does not export VelmoraCreateWorkObject"}},
           Row{"TellsNothing", {"it does not tell what it is"}},
           Row{"Broken", {"\"Broken\" cannot be used: ", std::string("Broken") + kSuffix}},
           Row{"Empty", {"\"Empty\" cannot be used: ", Reason("file too short")}},
           Row{"Half", {"\"Half\" cannot be used: ", Reason("the file is cut short")}},
           Row{"OtherMachine", {"\"OtherMachine\" cannot be used: ", Reason("shared object")}},
           Row{"OtherSystem", {"\"OtherSystem\" cannot be used: ", Reason("ELF header")}},
           Row{"Folder", {"\"Folder\" was not found"}},
       }) {
    SCOPED_TRACE(row.module);
    std::string fault;
    EXPECT_EQ(registry.Find(row.module, fault), nullptr);
    std::size_t at = 0;
    for (const std::string& want : row.wants) {
      at = fault.find(fs::u8path(want).make_preferred().u8string(), at);
      if (at == std::string::npos) at = fault.find(want);
      EXPECT_NE(at, std::string::npos) << "no " << want << " in " << fault;
    }
  }
}

TEST(ModuleRegistry, TakesTheFirstFolderThatHasTheModule) {
  const testing::TemporaryDirectory parent;
  const fs::path odd = fs::u8path(parent / "m\303\266dule \xE6\x9C\xAC");
  fs::create_directories(odd);
  fs::copy_file(fs::u8path(kSecond) / ("Good" + std::string(kSuffix)),
                odd / ("Good" + std::string(kSuffix)));
  using Row = std::pair<std::vector<std::string>, const char*>;
  JsonDocument document("t", "{}");
  const Json::Value none(Json::objectValue);
  for (const auto& [folders, mode] :
       {Row{{kFirst, kSecond}, "first"}, Row{{kSecond, kFirst}, "second"},
        Row{{parent / "", odd.u8string(), kFirst}, "second"}}) {
    std::string fault;
    const kit::CreateWorkObjectFunction create = ModuleRegistry(folders).Find("Good", fault);
    ASSERT_NE(create, nullptr) << fault;
    TaskSettings settings(document, none, "Settings");
    const NxRef<Nx_WorkObjectBase> work = create(settings);
    EXPECT_EQ(work->GetWorkModes(), std::vector<std::string>{mode});
  }
}

TEST(TaskSettings, FilesFaultsAtTheirPlacesAndReadsOn) {
  JsonDocument document("t", R"({"int": 1.5, "double": 7, "bool": 0, "string": 4,
"strings": ["a", 5], "choice": "d", "choices": ["b", "b"], "upper": 3, "left": 1})");
  ASSERT_TRUE(document.Parse());
  TaskSettings settings(document, document.GetRoot(), "S");
  EXPECT_EQ(settings.GetInt("int", 0, 9, 2), 2);
  EXPECT_EQ(settings.GetDouble("double", 0, 6.5, 1), 1);
  EXPECT_TRUE(settings.GetBool("bool", true));
  EXPECT_EQ(settings.GetString("string", "s"), "s");
  EXPECT_EQ(settings.GetStrings("strings", {"z"}), std::vector<std::string>{"z"});
  EXPECT_EQ(settings.GetChoice("choice", {"a", "b"}, "b"), "b");
  EXPECT_EQ(settings.GetChoices("choices", {"a", "b"}), (std::vector<std::string>{"b", "b"}));
  EXPECT_EQ(settings.GetInt("upper", 0, 9, 0), 3);
  EXPECT_EQ(settings.GetString("absent", "s"), "s");
  settings.AddError("upper", "is below the lower one");
  settings.CheckAllRead();
  std::string errors;
  for (const TemplateError& error : document.GetErrors()) {
    errors += std::to_string(error.line) + ":" + std::to_string(error.column) + " " + error.path +
              ": " + error.message + "\n";
  }
  EXPECT_EQ(
      errors,
      "1:9 S.int: 1.5 stands where a whole number is wanted\n"
      "1:24 S.double: 7 is not between 0.0 and 6.5\n"
      "1:35 S.bool: 0 stands where true or false is wanted\n"
      "1:48 S.string: 4 stands where a string is wanted\n"
      "2:18 S.strings[1]: 5 stands where a string is wanted\n"
      "2:32 S.choice: \"d\" is not among \"a\", \"b\"\n"
      "2:69 S.upper: is below the lower one\n"
      "2:80 S.left: there is no key \"left\" here; allowed are \"int\", \"double\", \"bool\", "
      "\"string\", \"strings\", \"choice\", \"choices\", \"upper\", \"absent\"\n");
}

TEST(TaskSettings, StandWhereTheirTaskDoesIfThereAreNone) {
  JsonDocument document("t", R"({"Name": "t", "Definitions": [{"Name": "A", "Priority": 3,
"Tasks": [ {"Name": "x", "Module": "M"}]}]})");
  ASSERT_TRUE(document.Parse());
  const Template read = ReadTemplate(document);
  ASSERT_TRUE(document.GetErrors().empty()) << document.GetErrors()[0].ToString();
  EXPECT_EQ(read.definitions[0].priority, 3);
  const TaskTemplate& task = read.definitions[0].tasks[0];
  TaskSettings(document, task.settings, task.settingsPlace.path).AddError("key", "is needed");
  EXPECT_EQ(document.GetErrors()[0].ToString(),
            "t:2:12: Definitions[0].Tasks[0].Settings: is needed (-10038: The parameter value is "
            "invalid or out of range.)");
}

}  // namespace
}  // namespace velmora::capture

#include "tools/capture/symbologies.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <memory>
#include <set>

#include "tools/capture/options.h"

namespace velmora::capture {
namespace {

// Null if the text is nothing that a template could be: its reader says why.
Json::Value Parse(const std::string& text) {
  Json::Value value;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) return {};
  } catch (const Json::Exception&) {  // nested too deeply
    return {};
  }
  return value;
}

Json::Value& MemberOf(Json::Value& value, const char* name) {
  static Json::Value none;
  return value.isObject() && value.isMember(name) ? value[name] : none = Json::Value();
}

// The elements of an array for which the predicate holds.
template <typename Predicate>
Json::Value Filter(const Json::Value& array, Predicate stays) {
  Json::Value out(Json::arrayValue);
  for (const Json::Value& element : array) {
    if (stays(element)) out.append(element);
  }
  return out;
}

class Narrower {
 public:
  explicit Narrower(const std::vector<std::string>& wanted) : wanted_(wanted) {}

  void Narrow(Json::Value& root) {
    Json::Value& definitions = MemberOf(root, "Definitions");
    if (!definitions.isArray()) return;
    std::set<std::string> gone;
    for (Json::Value& definition : definitions) {
      NarrowDefinition(definition);
      const Json::Value& tasks = MemberOf(definition, "Tasks");
      if (tasks.isArray() && tasks.empty()) gone.insert(MemberOf(definition, "Name").asString());
    }
    CheckAllKnown();
    const auto stays = [&](const Json::Value& name) { return gone.count(name.asString()) == 0; };
    definitions = Filter(definitions, [&](const Json::Value& d) { return stays(d["Name"]); });
    for (Json::Value& definition : definitions) {
      if (definition.isMember("Parents")) {
        definition["Parents"] = Filter(definition["Parents"], stays);
      }
    }
  }

 private:
  void NarrowDefinition(Json::Value& definition) {
    Json::Value& tasks = MemberOf(definition, "Tasks");
    if (!tasks.isArray()) return;
    std::set<std::string> gone;
    for (Json::Value& task : tasks) {
      Json::Value& list = MemberOf(MemberOf(task, "Settings"), "Symbologies");
      if (!list.isArray()) continue;
      for (const Json::Value& symbology : list) known_.insert(symbology.asString());
      list = Filter(list, [&](const Json::Value& symbology) {
        return std::find(wanted_.begin(), wanted_.end(), symbology.asString()) != wanted_.end();
      });
      if (list.empty()) gone.insert(MemberOf(task, "Name").asString());
    }
    const auto stays = [&](const Json::Value& name) { return gone.count(name.asString()) == 0; };
    tasks = Filter(tasks, [&](const Json::Value& task) { return stays(task["Name"]); });
    for (Json::Value& task : tasks) {
      if (task.isMember("UnlessFoundBy")) {
        task["UnlessFoundBy"] = Filter(task["UnlessFoundBy"], stays);
      }
    }
  }

  void CheckAllKnown() const {
    for (const std::string& symbology : wanted_) {
      if (known_.count(symbology) != 0) continue;
      std::string names;
      for (const std::string& name : known_) names += (names.empty() ? "" : ", ") + name;
      throw UsageError("--symbologies: the template does not read '" + symbology + "'; it reads " +
                       (names.empty() ? "none by name" : names));
    }
  }

  const std::vector<std::string>& wanted_;
  std::set<std::string> known_;
};

}  // namespace

std::string NarrowSymbologies(const std::string& templateText,
                              const std::vector<std::string>& wanted) {
  Json::Value root = Parse(templateText);
  if (!root.isObject()) return templateText;
  Narrower(wanted).Narrow(root);
  return Json::writeString(Json::StreamWriterBuilder(), root);
}

}  // namespace velmora::capture

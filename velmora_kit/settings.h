/// @file
/// The settings of a task, as its module reads them.
#pragma once

#include <string>
#include <vector>

namespace velmora::kit {

/// The members of a task's "Settings", read by the constructor of its work object.
///
/// Each operation that reads names a key, what may stand there, and what an absent key means. A
/// value that is anything else is filed as an error at its place in the template, and read as if it
/// were absent: a module reads all its settings and checks nothing afterwards. A key that the
/// module never reads is an error too.
///
/// @threadsafety the thread that makes the work object, until its constructor returns
class Settings {
 public:
  Settings() = default;
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  /// A whole number from @p smallest to @p largest.
  virtual int GetInt(const std::string& key, int smallest, int largest, int whenAbsent) = 0;
  /// A number from @p smallest to @p largest.
  virtual double GetDouble(const std::string& key, double smallest, double largest,
                           double whenAbsent) = 0;
  virtual bool GetBool(const std::string& key, bool whenAbsent) = 0;
  /// Any string.
  virtual std::string GetString(const std::string& key, const std::string& whenAbsent) = 0;
  /// An array of strings, which may be empty.
  virtual std::vector<std::string> GetStrings(const std::string& key,
                                              const std::vector<std::string>& whenAbsent) = 0;
  /// One of the strings of @p allowed.
  virtual std::string GetChoice(const std::string& key, const std::vector<std::string>& allowed,
                                const std::string& whenAbsent) = 0;
  /// An array with at least one of the strings of @p allowed.
  /// @return the chosen ones in the order of the array; all that are allowed if the key is absent
  virtual std::vector<std::string> GetChoices(const std::string& key,
                                              const std::vector<std::string>& allowed) = 0;

  /// Files an error that no single value shows: the lower of two limits is above the upper one.
  /// @param key  whose place the error gets; the place of the settings if it is absent
  virtual void AddError(const std::string& key, const std::string& message) = 0;

 protected:
  ~Settings() = default;
};

}  // namespace velmora::kit

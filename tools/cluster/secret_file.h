/// @file
/// Passwords from files: on a command line every user of the machine could read them.
#pragma once

#include <string>

namespace velmora::cluster {

/// The first line of a file that holds a secret. Only its owner may have access to it; one of
/// root's may also be readable by a group, as mounted secrets are.
/// @throws capture::UsageError if it cannot be read, is empty, or others have access to it
std::string ReadSecretLine(const std::string& file);

struct Credentials {
  std::string user;
  std::string password;
};

/// Reads USER:PASSWORD, what follows the first colon being the password.
/// @throws capture::UsageError as `ReadSecretLine` does, and for a line without a colon
Credentials ReadCredentials(const std::string& file);

}  // namespace velmora::cluster

/// @file
/// Results in a table of PostgreSQL.
#pragma once

#include <memory>
#include <string>

#include "tools/cluster/result_store.h"

namespace velmora::cluster {

/// Opens the table `velmora_results` of a database, which is made for writing if it is
/// missing; it is looked for along the search path.
///
/// Every thread that is within an operation uses a connection of its own, which is kept for the
/// next one. A result survives a power failure if the server's `synchronous_commit` is on, as it is
/// unless somebody turned it off.
///
/// @param url              for libpq; without a password
/// @param credentialsFile  holds USER:PASSWORD; empty for libpq's own files and variables
/// @throws StoreError
std::unique_ptr<ResultStore> OpenPostgresStore(const std::string& url,
                                               const std::string& credentialsFile, StoreUse use);

}  // namespace velmora::cluster

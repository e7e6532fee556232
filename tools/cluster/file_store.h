/// @file
/// Results as files, for one machine or a shared file system.
#pragma once

#include <memory>
#include <string>

#include "tools/cluster/result_store.h"

namespace velmora::cluster {

/// Opens a store of one file for each job id, `folder/5e/ID.json`, in 256 folders by a hash of the
/// id.
///
/// A result is written to `folder/.new`, flushed to the disk and linked to its name, which fails if
/// the name exists: readers never see half a result, and the first one wins, also between machines
/// that share the file system. It needs hard links and tells names that differ in case only apart.
///
/// Folders are made here, for writing, and not later: if the folder vanishes (a share that is not
/// mounted), the operations fail until it is back. What writers that were killed left in `.new` is
/// removed here, too, once it is an hour old.
///
/// @throws StoreError
std::unique_ptr<ResultStore> OpenFileStore(const std::string& folder, StoreUse use);

}  // namespace velmora::cluster

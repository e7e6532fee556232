/// @file
/// The part of the command lines that tells which queue to use.
#pragma once

#include <string>

#include "tools/capture/option_table.h"
#include "tools/cluster/job_queue.h"

namespace velmora::cluster {

/// What an options struct of a program derives from to take `QueueRow`s.
struct WithQueueOptions {
  QueueOptions queue;
  std::string credentials;  ///< the name of a file
};

/// Rows for the table of a program's options.
template <typename O>
inline constexpr capture::OptionRow<O> kQueueRow{
    "--queue", "URL", "amqp://HOST:PORT/VHOST of the broker, or amqps (127.0.0.1:5672)",
    [](O& o, const std::string& v) { o.queue.url = v; }};
template <typename O>
inline constexpr capture::OptionRow<O> kCredentialsRow{
    "--credentials", "FILE", "holds USER:PASSWORD for the broker; for its owner's eyes only",
    [](O& o, const std::string& v) { o.credentials = v; }};
template <typename O>
inline constexpr capture::OptionRow<O> kPrefixRow{
    "--prefix", "NAME", "queues are NAME.0 to .2, .suspects and .dead (velmora.jobs)",
    [](O& o, const std::string& v) { o.queue.prefix = v; }};
template <typename O>
inline constexpr capture::OptionRow<O> kCaRow{
    "--ca", "FILE", "who signed the broker's certificate (what the system trusts)",
    [](O& o, const std::string& v) { o.queue.caFile = v; }};
template <typename O>
inline constexpr capture::OptionRow<O> kCertificateRow{
    "--certificate", "FILE", "the client's own certificate",
    [](O& o, const std::string& v) { o.queue.certificate = v; }};
template <typename O>
inline constexpr capture::OptionRow<O> kKeyRow{"--key", "FILE", "the key of that certificate",
                                               [](O& o, const std::string& v) { o.queue.key = v; }};

/// Checks what belongs together and reads the credentials.
/// @throws capture::UsageError
void FinishQueueOptions(WithQueueOptions& options);

}  // namespace velmora::cluster

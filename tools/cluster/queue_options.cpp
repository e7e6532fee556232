#include "tools/cluster/queue_options.h"

#include "tools/cluster/secret_file.h"

namespace velmora::cluster {

using capture::UsageError;

void FinishQueueOptions(WithQueueOptions& options) {
  QueueOptions& queue = options.queue;
  const std::size_t end = queue.url.find('/', queue.url.find("//") + 2);
  const std::string authority = queue.url.substr(0, end);
  if (authority.find('@') != std::string::npos) {
    throw UsageError("the URL of --queue names no user and no password: --credentials does");
  }
  const bool isSafe = queue.url.compare(0, 8, "amqps://") == 0;
  if (!isSafe && queue.url.compare(0, 7, "amqp://") != 0) {
    throw UsageError("--queue takes a URL that begins with amqp:// or amqps://, not '" + queue.url +
                     "'");
  }
  if (!isSafe && !(queue.caFile + queue.certificate + queue.key).empty()) {
    throw UsageError("--ca, --certificate and --key are for an amqps URL");
  }
  if (queue.certificate.empty() != queue.key.empty()) {
    throw UsageError("--certificate and --key come together");
  }
  // With the dead letters' ending it stays below what the broker takes.
  if (queue.prefix.empty() || queue.prefix.size() > 200) {
    throw UsageError("--prefix takes a name of 1 to 200 bytes");
  }
  if (options.credentials.empty()) return;
  const Credentials credentials = ReadCredentials(options.credentials);
  queue.user = credentials.user;
  queue.password = credentials.password;
}

}  // namespace velmora::cluster

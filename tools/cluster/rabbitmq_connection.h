/// @file
/// What is said to RabbitMQ whatever one wants from it: the connection, its errors, tables.
#pragma once

#include <amqp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tools/cluster/job_queue.h"

namespace velmora::cluster {

/// The only channel of a connection.
inline constexpr amqp_channel_t kChannel = 1;

/// A job may come back that often from workers that died; the next time it is a dead letter.
inline constexpr std::int64_t kDeliveryLimit = 3;

/// The header of a dead letter that says what a worker found wrong with the job.
inline constexpr char kErrorHeader[] = "velmora-error";

/// The bytes of a text, which must outlive them.
amqp_bytes_t Bytes(const std::string& text);
std::string ToString(amqp_bytes_t bytes);

/// An entry of a table; key and text must outlive it.
amqp_table_entry_t Entry(const char* key, const char* text);
amqp_table_entry_t Entry(const char* key, std::int64_t number);
amqp_table_entry_t Entry(const char* key, bool is);

template <std::size_t kCount>
amqp_table_t Table(std::array<amqp_table_entry_t, kCount>& entries) {
  return {static_cast<int>(kCount), entries.data()};
}

/// Null if the table has no such entry.
const amqp_field_value_t* FindEntry(const amqp_table_t& table, const char* key);
/// The entry's text; empty if there is none.
std::string TextOf(const amqp_table_t& table, const char* key);
/// The headers of a message, which may be none.
amqp_table_t HeadersOf(const amqp_message_t& message);

/// The queues of jobs that came back from a worker that died, and of those that were given up.
std::string SuspectQueueName(const QueueOptions& options);
std::string DeadQueueName(const QueueOptions& options);

/// @throws QueueError, for a status of the library
[[noreturn]] void ThrowStatus(const char* what, int status);

/// @throws QueueError if the method ends the channel or the connection
void CheckClosed(const amqp_method_t& method);

/// @throws QueueError unless the reply is a normal one
void Check(const char* what, const amqp_rpc_reply_t& reply);

/// A connection with one channel, over TLS if the URL says so.
///
/// @threadsafety one thread
class RabbitMqConnection {
 public:
  /// @throws capture::UsageError for a URL that cannot be understood
  explicit RabbitMqConnection(const QueueOptions& options);
  /// Closes it. What is not acknowledged comes back, whether the broker hears of it or not.
  ~RabbitMqConnection();
  RabbitMqConnection(const RabbitMqConnection&) = delete;
  RabbitMqConnection& operator=(const RabbitMqConnection&) = delete;

  /// Connects and opens the channel; drops what was connected before.
  /// @throws QueueError
  void Open();
  /// Forgets the connection without a word to the broker.
  void Drop() { connection_.reset(); }
  /// Null unless it is open.
  amqp_connection_state_t Get() const { return connection_.get(); }
  /// @throws QueueError unless the last call of the library was answered as it should be
  void CheckReply(const char* what) const { Check(what, amqp_get_rpc_reply(Get())); }

 private:
  struct Destroy {
    void operator()(amqp_connection_state_t state) const { amqp_destroy_connection(state); }
  };

  void OpenSocket();
  void PrepareTls(amqp_socket_t& socket) const;
  void Login();

  const QueueOptions options_;
  std::string url_;
  amqp_connection_info place_{};  // points into url_
  std::unique_ptr<amqp_connection_state_t_, Destroy> connection_;
};

}  // namespace velmora::cluster

#include "tools/cluster/rabbitmq_connection.h"

#include <amqp_framing.h>
#include <amqp_ssl_socket.h>
#include <amqp_tcp_socket.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <iterator>

#include "tools/capture/option_table.h"

namespace velmora::cluster {
namespace {

constexpr int kFrameBytes = AMQP_DEFAULT_FRAME_SIZE;
constexpr int kHeartbeatSeconds = 20;  // the broker gives a silent client up after twice that
constexpr timeval kConnectTimeout{5, 0};
constexpr timeval kAnswerTimeout{20, 0};  // a restarted broker takes a while over its queues

// The broker says the same at the next try.
bool IsFinal(int replyCode) {
  constexpr int kFinal[] = {AMQP_ACCESS_REFUSED, AMQP_NOT_ALLOWED, AMQP_PRECONDITION_FAILED,
                            AMQP_COMMAND_INVALID, AMQP_NOT_IMPLEMENTED};
  return std::find(std::begin(kFinal), std::end(kFinal), replyCode) != std::end(kFinal);
}

[[noreturn]] void ThrowClosed(int replyCode, amqp_bytes_t text) {
  throw QueueError("the broker says: " + ToString(text) + " (" + std::to_string(replyCode) + ")",
                   IsFinal(replyCode));
}

}  // namespace

amqp_bytes_t Bytes(const std::string& text) {
  return {text.size(), const_cast<char*>(text.data())};
}

std::string ToString(amqp_bytes_t bytes) {
  return bytes.len == 0 ? std::string()
                        : std::string(static_cast<const char*>(bytes.bytes), bytes.len);
}

amqp_table_entry_t Entry(const char* key, const char* text) {
  amqp_table_entry_t entry{amqp_cstring_bytes(key), {}};
  entry.value.kind = AMQP_FIELD_KIND_UTF8;
  entry.value.value.bytes = amqp_cstring_bytes(text);
  return entry;
}

amqp_table_entry_t Entry(const char* key, std::int64_t number) {
  amqp_table_entry_t entry{amqp_cstring_bytes(key), {}};
  entry.value.kind = AMQP_FIELD_KIND_I64;
  entry.value.value.i64 = number;
  return entry;
}

amqp_table_entry_t Entry(const char* key, bool is) {
  amqp_table_entry_t entry{amqp_cstring_bytes(key), {}};
  entry.value.kind = AMQP_FIELD_KIND_BOOLEAN;
  entry.value.value.boolean = is ? 1 : 0;
  return entry;
}

const amqp_field_value_t* FindEntry(const amqp_table_t& table, const char* key) {
  for (int i = 0; i < table.num_entries; ++i) {
    if (ToString(table.entries[i].key) == key) return &table.entries[i].value;
  }
  return nullptr;
}

std::string TextOf(const amqp_table_t& table, const char* key) {
  const amqp_field_value_t* const value = FindEntry(table, key);
  const bool isText = value != nullptr &&
                      (value->kind == AMQP_FIELD_KIND_UTF8 || value->kind == AMQP_FIELD_KIND_BYTES);
  return isText ? ToString(value->value.bytes) : std::string();
}

amqp_table_t HeadersOf(const amqp_message_t& message) {
  const bool hasHeaders = (message.properties._flags & AMQP_BASIC_HEADERS_FLAG) != 0;
  return hasHeaders ? message.properties.headers : amqp_empty_table;
}

std::string SuspectQueueName(const QueueOptions& options) {
  return options.prefix + ".suspects";
}

std::string DeadQueueName(const QueueOptions& options) {
  return options.prefix + ".dead";
}

void ThrowStatus(const char* what, int status) {
  throw QueueError(std::string(what) + ": " + amqp_error_string2(status));
}

void CheckClosed(const amqp_method_t& method) {
  if (method.id == AMQP_CONNECTION_CLOSE_METHOD) {
    const auto& close = *static_cast<const amqp_connection_close_t*>(method.decoded);
    ThrowClosed(close.reply_code, close.reply_text);
  }
  if (method.id == AMQP_CHANNEL_CLOSE_METHOD) {
    const auto& close = *static_cast<const amqp_channel_close_t*>(method.decoded);
    ThrowClosed(close.reply_code, close.reply_text);
  }
}

void Check(const char* what, const amqp_rpc_reply_t& reply) {
  if (reply.reply_type == AMQP_RESPONSE_NORMAL) return;
  if (reply.reply_type == AMQP_RESPONSE_SERVER_EXCEPTION) CheckClosed(reply.reply);
  ThrowStatus(what, reply.reply_type == AMQP_RESPONSE_LIBRARY_EXCEPTION
                        ? reply.library_error
                        : AMQP_STATUS_CONNECTION_CLOSED);
}

RabbitMqConnection::RabbitMqConnection(const QueueOptions& options)
    : options_(options), url_(options.url) {
  // Takes the URL apart in place.
  if (amqp_parse_url(url_.data(), &place_) != AMQP_STATUS_OK) {
    throw capture::UsageError("the URL '" + options_.url + "' cannot be understood");
  }
}

RabbitMqConnection::~RabbitMqConnection() {
  if (connection_ != nullptr) amqp_connection_close(Get(), AMQP_REPLY_SUCCESS);
}

void RabbitMqConnection::Open() {
  connection_.reset(amqp_new_connection());
  if (connection_ == nullptr) ThrowStatus("the connection", AMQP_STATUS_NO_MEMORY);
  try {
    OpenSocket();
    Login();
    amqp_set_rpc_timeout(Get(), &kAnswerTimeout);
    amqp_channel_open(Get(), kChannel);
    CheckReply("a channel of the broker");
  } catch (...) {
    Drop();
    throw;
  }
}

void RabbitMqConnection::OpenSocket() {
  const bool isSafe = place_.ssl != 0;
  amqp_socket_t* const socket = isSafe ? amqp_ssl_socket_new(Get()) : amqp_tcp_socket_new(Get());
  if (socket == nullptr) ThrowStatus("the connection", AMQP_STATUS_NO_MEMORY);
  if (isSafe) PrepareTls(*socket);
  const int status = amqp_socket_open_noblock(socket, place_.host, place_.port, &kConnectTimeout);
  if (status == AMQP_STATUS_OK) return;
  throw QueueError("the broker at " + std::string(place_.host) + ":" + std::to_string(place_.port) +
                   " cannot be reached: " + amqp_error_string2(status));
}

void RabbitMqConnection::PrepareTls(amqp_socket_t& socket) const {
  amqp_ssl_socket_set_verify_peer(&socket, 1);
  amqp_ssl_socket_set_verify_hostname(&socket, 1);
  amqp_ssl_socket_set_ssl_versions(&socket, AMQP_TLSv1_2, AMQP_TLSvLATEST);
  if (options_.caFile.empty()) {
    SSL_CTX_set_default_verify_paths(static_cast<SSL_CTX*>(amqp_ssl_socket_get_context(&socket)));
  } else if (amqp_ssl_socket_set_cacert(&socket, options_.caFile.c_str()) != AMQP_STATUS_OK) {
    throw QueueError("the certificates in '" + options_.caFile + "' cannot be read", true);
  }
  if (options_.certificate.empty()) return;
  if (amqp_ssl_socket_set_key(&socket, options_.certificate.c_str(), options_.key.c_str()) !=
      AMQP_STATUS_OK) {
    throw QueueError("the certificate '" + options_.certificate + "' and its key '" + options_.key +
                         "' cannot be used",
                     true);
  }
}

void RabbitMqConnection::Login() {
  std::array<amqp_table_entry_t, 2> abilities{Entry("connection.blocked", true),
                                              Entry("consumer_cancel_notify", true)};
  std::array<amqp_table_entry_t, 2> entries{Entry("connection_name", "velmora"), {}};
  entries[1].key = amqp_cstring_bytes("capabilities");
  entries[1].value.kind = AMQP_FIELD_KIND_TABLE;
  entries[1].value.value.table = Table(abilities);
  const amqp_table_t properties = Table(entries);
  const std::string vhost = place_.vhost[0] != '\0' ? place_.vhost : "/";
  Check("the broker does not let us in",
        amqp_login_with_properties(Get(), vhost.c_str(), 1, kFrameBytes, kHeartbeatSeconds,
                                   &properties, AMQP_SASL_METHOD_PLAIN, options_.user.c_str(),
                                   options_.password.c_str()));
}

}  // namespace velmora::cluster

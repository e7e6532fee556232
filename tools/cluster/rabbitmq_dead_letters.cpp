// The dead-letter queue of RabbitMQ, read message by message and given back.
#include "tools/cluster/dead_letters.h"

#include <amqp.h>
#include <amqp_framing.h>

#include <algorithm>
#include <vector>

#include "tools/cluster/rabbitmq_connection.h"

namespace velmora::cluster {
namespace {

// What the broker noted when it moved the message itself: the latest of a list of tables.
std::string DescribeDeath(const amqp_table_t& headers, const std::string& suspects) {
  const amqp_field_value_t* const deaths = FindEntry(headers, "x-death");
  if (deaths == nullptr || deaths->kind != AMQP_FIELD_KIND_ARRAY ||
      deaths->value.array.num_entries == 0 ||
      deaths->value.array.entries[0].kind != AMQP_FIELD_KIND_TABLE) {
    return "nothing is known about its end";
  }
  const amqp_table_t& death = deaths->value.array.entries[0].value.table;
  const std::string reason = TextOf(death, "reason");
  const std::string queue = TextOf(death, "queue");
  if (reason == "delivery_limit") {
    // It became a suspect because one died before.
    const std::int64_t count = kDeliveryLimit + (queue == suspects ? 2 : 1);
    return std::to_string(count) + " workers that had it in hand died";
  }
  return "the broker moved it from " + queue + ": " + reason;
}

class RabbitMqDeadLetters final : public DeadLetters {
 public:
  explicit RabbitMqDeadLetters(const QueueOptions& options)
      : queue_(DeadQueueName(options)), suspects_(SuspectQueueName(options)), connection_(options) {
    connection_.Open();
  }

  // They are given back when the connection ends. Until then none comes a second time.
  void ForEach(const Visitor& visitor) override {
    while (true) {
      const amqp_rpc_reply_t reply = amqp_basic_get(connection_.Get(), kChannel, Bytes(queue_), 0);
      Check("the dead letters", reply);
      if (reply.reply.id == AMQP_BASIC_GET_EMPTY_METHOD) return;
      last_ = static_cast<const amqp_basic_get_ok_t*>(reply.reply.decoded)->delivery_tag;
      visitor(ReadLetter());
      amqp_maybe_release_buffers(connection_.Get());
    }
  }

  void Remove() override {
    if (last_ == 0) return;
    const int status = amqp_basic_ack(connection_.Get(), kChannel, last_, 1);
    if (status != AMQP_STATUS_OK) ThrowStatus("the dead letters were not removed", status);
    last_ = 0;
    // Waits for an answer, so that the acknowledgement has arrived.
    amqp_channel_close(connection_.Get(), kChannel, AMQP_REPLY_SUCCESS);
    connection_.CheckReply("the end of the dead letters");
  }

 private:
  DeadLetter ReadLetter() {
    amqp_message_t message;
    Check("a dead letter", amqp_read_message(connection_.Get(), kChannel, &message, 0));
    DeadLetter letter;
    letter.message = ToString(message.body);
    const amqp_table_t headers = HeadersOf(message);
    letter.error = TextOf(headers, kErrorHeader);
    if (letter.error.empty()) letter.error = DescribeDeath(headers, suspects_);
    amqp_destroy_message(&message);
    return letter;
  }

  const std::string queue_;
  const std::string suspects_;
  RabbitMqConnection connection_;
  std::uint64_t last_ = 0;  // the newest that was visited; its number counts up
};

}  // namespace

std::unique_ptr<DeadLetters> OpenDeadLetters(const QueueOptions& options) {
  return std::make_unique<RabbitMqDeadLetters>(options);
}

}  // namespace velmora::cluster

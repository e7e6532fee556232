// Jobs on RabbitMQ: a quorum queue per priority, one for suspects, one for dead letters, publisher
// confirms.
//
// The broker counts how often a message came back from a worker that died, and gives it up when
// that was too often. But it counts for every message that the worker had, and gives them all to
// the next one. So what came back once is put into the queue of suspects, of which a worker takes
// one at a time: there each is counted for itself.
#include <amqp.h>
#include <amqp_framing.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "tools/capture/text.h"
#include "tools/cluster/job.h"
#include "tools/cluster/job_queue.h"
#include "tools/cluster/rabbitmq_connection.h"

namespace velmora::cluster {
namespace {

constexpr int kMostPollMs = 1000;  // the library sends heartbeats only while it is asked

// Beyond it jobs are refused and wait with whoever submits them; a policy may set less.
constexpr std::int64_t kMostJobs = 1'000'000;

constexpr char kQueueHeader[] = "velmora-queue";
constexpr std::size_t kMaxErrorBytes = 2000;

constexpr char kSuspectTag[] = "suspects";

// A quorum queue counts in a header how often a message came back; others only tell that it did.
int CountFailures(const amqp_envelope_t& envelope) {
  const amqp_field_value_t* const count =
      FindEntry(HeadersOf(envelope.message), "x-delivery-count");
  if (count != nullptr) {
    switch (count->kind) {
      case AMQP_FIELD_KIND_I64:
        return static_cast<int>(std::clamp<std::int64_t>(count->value.i64, 0, 1000));
      case AMQP_FIELD_KIND_I32:
        return std::clamp(count->value.i32, 0, 1000);
      case AMQP_FIELD_KIND_I16:
        return std::max<int>(count->value.i16, 0);
      case AMQP_FIELD_KIND_I8:
        return std::max<int>(count->value.i8, 0);
      default:
        break;
    }
  }
  return envelope.redelivered != 0 ? 1 : 0;
}

class RabbitMqQueue final : public JobQueue {
 public:
  explicit RabbitMqQueue(const QueueOptions& options) : options_(options), connection_(options) {}

  void Connect() override {
    deliveries_.clear();
    published_.clear();
    sequence_ = 0;
    connection_.Open();
    try {
      amqp_confirm_select(Get(), kChannel);
      CheckReply("confirms of the broker");
      DeclareQueues();
      if (options_.prefetch > 0) StartDelivery();
    } catch (...) {
      connection_.Drop();
      throw;
    }
  }

  void Publish(const std::string& message, int priority, std::uint64_t number) override {
    Send(QueueName(priority), message, {}, {Purpose::kJob, number});
  }

  std::vector<QueueEvent> Poll(int wakeFd, int timeoutMs) override {
    RequireConnection();
    std::vector<QueueEvent> events;
    if (amqp_frames_enqueued(Get()) == 0 && amqp_data_in_buffer(Get()) == 0) {
      pollfd ends[] = {{amqp_get_sockfd(Get()), POLLIN, 0}, {wakeFd, POLLIN, 0}};
      poll(ends, 2, std::min(timeoutMs, kMostPollMs));  // a signal ends the wait, too
    }
    while (TakeFrame(events)) {
    }
    amqp_maybe_release_buffers(Get());
    return events;
  }

  void Accept(std::uint64_t delivery) override {
    const auto found = deliveries_.find(delivery);
    if (found == deliveries_.end()) return;
    const std::uint64_t tag = found->second.tag;
    deliveries_.erase(found);
    RequireConnection();
    const int status = amqp_basic_ack(Get(), kChannel, tag, 0);
    if (status != AMQP_STATUS_OK) ThrowStatus("the broker was not told of a job done", status);
  }

  // The broker itself would move it, too, but could not be told why. Here the dead letter is safe
  // before the job is gone; at worst there are two.
  void Reject(std::uint64_t delivery, const std::string& error) override {
    const auto found = deliveries_.find(delivery);
    if (found == deliveries_.end()) return;
    const std::string text = capture::ValidUtf8(error.substr(0, kMaxErrorBytes));
    const std::string queue = QueueName(found->second.priority);
    std::array<amqp_table_entry_t, 2> headers{Entry(kErrorHeader, text.c_str()),
                                              Entry(kQueueHeader, queue.c_str())};
    Send(DeadQueueName(options_), found->second.message, Table(headers),
         {Purpose::kDeadLetter, delivery});
  }

  void StopDelivery() override {
    RequireConnection();
    if (options_.prefetch == 0) return;
    for (int priority = 0; priority < kPriorities; ++priority) Cancel(std::to_string(priority));
    Cancel(kSuspectTag);
  }

 private:
  struct Delivery {
    std::uint64_t tag = 0;
    int priority = 0;
    std::string message;  // for the dead letter
  };
  enum class Purpose { kJob, kDeadLetter, kSuspect };
  // What waits for the broker's confirmation.
  struct Published {
    Purpose purpose = Purpose::kJob;
    std::uint64_t number = 0;  // the caller's, or the delivery's
  };

  amqp_connection_state_t Get() const { return connection_.Get(); }
  void RequireConnection() const {
    if (Get() == nullptr) throw QueueError("there is no connection to the broker");
  }
  std::string QueueName(int priority) const {
    return options_.prefix + "." + std::to_string(priority);
  }
  void CheckReply(const char* what) const { connection_.CheckReply(what); }

  // The same arguments in every program, or the broker refuses: both make the queues.
  void DeclareQueues() {
    const std::string dead = DeadQueueName(options_);
    std::array<amqp_table_entry_t, 1> plain{Entry("x-queue-type", "quorum")};
    Declare(dead, Table(plain));
    std::array<amqp_table_entry_t, 7> limited{Entry("x-queue-type", "quorum"),
                                              Entry("x-delivery-limit", kDeliveryLimit),
                                              Entry("x-max-length", kMostJobs),
                                              Entry("x-overflow", "reject-publish"),
                                              Entry("x-dead-letter-exchange", ""),
                                              Entry("x-dead-letter-routing-key", dead.c_str()),
                                              Entry("x-dead-letter-strategy", "at-least-once")};
    for (int priority = 0; priority < kPriorities; ++priority) {
      Declare(QueueName(priority), Table(limited));
    }
    Declare(SuspectQueueName(options_), Table(limited));
  }

  void Declare(const std::string& name, amqp_table_t arguments) {
    amqp_queue_declare(Get(), kChannel, Bytes(name), 0, 1, 0, 0, arguments);
    CheckReply("a queue of the broker");
  }

  void StartDelivery() {
    for (int priority = 0; priority < kPriorities; ++priority) {
      Consume(QueueName(priority), std::to_string(priority), options_.prefetch);
    }
    Consume(SuspectQueueName(options_), kSuspectTag, 1);
  }

  void Consume(const std::string& queue, const std::string& tag, int prefetch) {
    amqp_basic_qos(Get(), kChannel, 0, static_cast<std::uint16_t>(prefetch), 0);
    CheckReply("the limit of jobs in hand");
    amqp_basic_consume(Get(), kChannel, Bytes(queue), Bytes(tag), 0, 0, 0, amqp_empty_table);
    CheckReply("deliveries of the broker");
  }

  void Cancel(const std::string& tag) {
    amqp_basic_cancel(Get(), kChannel, Bytes(tag));
    CheckReply("the end of deliveries");
  }

  void Send(const std::string& queue, const std::string& message, amqp_table_t headers,
            Published published) {
    RequireConnection();
    amqp_basic_properties_t properties{};
    properties._flags = AMQP_BASIC_CONTENT_TYPE_FLAG | AMQP_BASIC_DELIVERY_MODE_FLAG;
    properties.content_type = amqp_cstring_bytes("application/json");
    properties.delivery_mode = AMQP_DELIVERY_PERSISTENT;
    if (headers.num_entries > 0) {
      properties._flags |= AMQP_BASIC_HEADERS_FLAG;
      properties.headers = headers;
    }
    // Mandatory: without a queue it would be confirmed and lost.
    const int status = amqp_basic_publish(Get(), kChannel, amqp_empty_bytes, Bytes(queue), 1, 0,
                                          &properties, Bytes(message));
    if (status != AMQP_STATUS_OK) ThrowStatus("a message was not sent to the broker", status);
    published_.emplace(++sequence_, published);
  }

  // One frame, or one delivery, that is there or on its way.
  bool TakeFrame(std::vector<QueueEvent>& events) {
    const timeval none{0, 0};
    amqp_envelope_t envelope;
    const amqp_rpc_reply_t reply = amqp_consume_message(Get(), &envelope, &none, 0);
    if (reply.reply_type == AMQP_RESPONSE_NORMAL) {
      TakeDelivery(envelope, events);
      amqp_destroy_envelope(&envelope);
      return true;
    }
    if (reply.reply_type == AMQP_RESPONSE_LIBRARY_EXCEPTION) {
      if (reply.library_error == AMQP_STATUS_TIMEOUT) return false;
      if (reply.library_error == AMQP_STATUS_UNEXPECTED_STATE) {
        amqp_frame_t frame;
        const int status = amqp_simple_wait_frame_noblock(Get(), &frame, &none);
        if (status == AMQP_STATUS_TIMEOUT) return false;
        if (status != AMQP_STATUS_OK) ThrowStatus("the connection to the broker", status);
        if (frame.frame_type == AMQP_FRAME_METHOD) TakeMethod(frame.payload.method, events);
        return true;
      }
    }
    Check("the connection to the broker", reply);
    return false;
  }

  void TakeDelivery(const amqp_envelope_t& envelope, std::vector<QueueEvent>& events) {
    QueueEvent event{};
    event.kind = QueueEvent::kJob;
    event.number = ++lastDelivery_;
    event.message = ToString(envelope.message.body);
    event.failures = CountFailures(envelope);
    const bool isSuspect = ToString(envelope.consumer_tag) == kSuspectTag;
    // A suspect's header names the queue that it was in.
    const std::string queue = isSuspect ? TextOf(HeadersOf(envelope.message), kQueueHeader)
                                        : ToString(envelope.consumer_tag);
    event.priority = queue.empty() ? 0 : std::clamp(queue.back() - '0', 0, kPriorities - 1);
    deliveries_[event.number] = {envelope.delivery_tag, event.priority, event.message};
    if (isSuspect) {
      ++event.failures;  // with the one that made it a suspect
    } else if (event.failures > 0) {
      return Suspect(event);
    }
    events.push_back(event);
  }

  // The delivery is accepted once the copy is safe.
  void Suspect(const QueueEvent& event) {
    const std::string queue = QueueName(event.priority);
    std::array<amqp_table_entry_t, 1> headers{Entry(kQueueHeader, queue.c_str())};
    Send(SuspectQueueName(options_), event.message, Table(headers),
         {Purpose::kSuspect, event.number});
  }

  void TakeMethod(const amqp_method_t& method, std::vector<QueueEvent>& events) {
    CheckClosed(method);
    switch (method.id) {
      case AMQP_BASIC_ACK_METHOD: {
        const auto& ack = *static_cast<const amqp_basic_ack_t*>(method.decoded);
        Settle(ack.delivery_tag, ack.multiple != 0, true, events);
        break;
      }
      case AMQP_BASIC_NACK_METHOD: {
        const auto& nack = *static_cast<const amqp_basic_nack_t*>(method.decoded);
        Settle(nack.delivery_tag, nack.multiple != 0, false, events);
        break;
      }
      case AMQP_CONNECTION_BLOCKED_METHOD:
        events.push_back({QueueEvent::kBlocked, 0, {}, 0, 0});
        break;
      case AMQP_CONNECTION_UNBLOCKED_METHOD:
        events.push_back({QueueEvent::kUnblocked, 0, {}, 0, 0});
        break;
      case AMQP_BASIC_RETURN_METHOD:
      case AMQP_BASIC_CANCEL_METHOD:
        throw QueueError("a queue of the broker was deleted");
      default:
        break;
    }
  }

  void Settle(std::uint64_t sequence, bool isMultiple, bool isSafe,
              std::vector<QueueEvent>& events) {
    const auto end = published_.upper_bound(sequence);
    const auto begin = isMultiple ? published_.begin() : published_.lower_bound(sequence);
    std::vector<Published> moved;
    for (auto at = begin; at != end; ++at) {
      const Published& published = at->second;
      if (published.purpose == Purpose::kJob) {
        events.push_back(
            {isSafe ? QueueEvent::kConfirmed : QueueEvent::kRefused, published.number, {}, 0, 0});
      } else if (isSafe) {
        moved.push_back(published);
      } else {
        throw QueueError("the broker does not take a dead letter or a suspect");
      }
    }
    published_.erase(begin, end);
    for (const Published& published : moved) {
      Accept(published.number);
      if (published.purpose != Purpose::kDeadLetter) continue;
      events.push_back({QueueEvent::kBuried, published.number, {}, 0, 0});
    }
  }

  const QueueOptions options_;
  RabbitMqConnection connection_;
  std::map<std::uint64_t, Delivery> deliveries_;  // neither accepted nor buried
  std::map<std::uint64_t, Published> published_;  // by the channel's number of the message
  std::uint64_t sequence_ = 0;                    // of the last message on this channel
  std::uint64_t lastDelivery_ = 0;                // never twice, whatever the connection
};

}  // namespace

std::unique_ptr<JobQueue> OpenJobQueue(const QueueOptions& options) {
  return std::make_unique<RabbitMqQueue>(options);
}

}  // namespace velmora::cluster

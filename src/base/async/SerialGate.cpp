#include "base/async/SerialGate.h"

namespace quillmere {

struct SerialGate::Pass::Shared {
  using Turn = std::shared_ptr<Completion<void>>;

  bool isTaken = false;
  std::deque<Turn> waiting;

  void passOn() {
    if (waiting.empty()) {
      isTaken = false;
      return;
    }
    const Turn next = waiting.front();
    waiting.pop_front();
    next->resolve();
  }
};

namespace {

// A place in the queue. Gives its place, or the turn it was just given, back when its holder goes away.
template <typename Shared>
struct Ticket {
  explicit Ticket(std::shared_ptr<Shared> queue) : shared(std::move(queue)) { shared->waiting.push_back(turn); }
  Ticket(const Ticket&) = delete;
  Ticket& operator=(const Ticket&) = delete;
  ~Ticket() {
    if (isUsed) return;
    if (turn->isResolved())
      shared->passOn();
    else
      std::erase(shared->waiting, turn);
  }

  std::shared_ptr<Shared> shared;
  typename Shared::Turn turn = std::make_shared<Completion<void>>();
  bool isUsed = false;
};

}  // namespace

SerialGate::Pass& SerialGate::Pass::operator=(Pass&& other) noexcept {
  if (this != &other) {
    leave();
    shared_ = std::move(other.shared_);
  }
  return *this;
}

SerialGate::Pass::~Pass() {
  leave();
}

void SerialGate::Pass::leave() {
  if (const auto shared = std::exchange(shared_, nullptr)) shared->passOn();
}

SerialGate::SerialGate() : shared_(std::make_shared<Pass::Shared>()) {}

Task<SerialGate::Pass> SerialGate::enter() {
  const auto shared = shared_;
  if (!shared->isTaken) {
    shared->isTaken = true;
    co_return Pass(shared);
  }
  Ticket<Pass::Shared> ticket(shared);
  co_await ticket.turn->wait();
  ticket.isUsed = true;
  co_return Pass(shared);
}

}  // namespace quillmere

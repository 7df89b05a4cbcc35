// Ctrl-C and Ctrl-Break.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <optional>

namespace qzcall {

/// Undoes something that a command did to the terminal, when the user interrupts the command.
class InterruptAction {
 public:
  /// @param action called once if the user interrupts while this object lives, on another thread than the command's;
  ///   must not throw
  explicit InterruptAction(std::function<void()> action);
  /// Waits for an action that has been started.
  ~InterruptAction();
  InterruptAction(const InterruptAction&) = delete;
  InterruptAction& operator=(const InterruptAction&) = delete;

 private:
  std::list<std::function<void()>>::iterator place_;
};

/// Takes all actions, the latest first. There can be none any more after that: whoever makes one waits for the end of the
/// process.
void takeInterruptActions();

/// Something that another thread brings about, and that the main thread waits for.
enum class Event { done, interrupted };

/// From now on the keys no longer end the program but bring about Event::interrupted.
void catchInterrupts();
/// Says that the work is done.
void announceDone();
/// Waits for the first event.
/// @param limit 0 for any time
/// @return nothing when the limit has passed
std::optional<Event> waitForEvent(std::chrono::seconds limit);
/// From now on the first interrupt is let pass, the second one ends the program with kInterrupted.
void letOneInterruptPass();

}  // namespace qzcall

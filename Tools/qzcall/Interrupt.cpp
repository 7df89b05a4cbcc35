#include "Tools/qzcall/Interrupt.h"

#include <windows.h>

#include <condition_variable>
#include <mutex>

#include "Tools/qzcall/Command.h"

namespace qzcall {
namespace {

// Never destroyed: the system may call the handler for as long as the process lives.
struct Events {
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;
  int interrupts = 0;
  bool isEnding = false;
};

Events& events() {
  static Events& instance = *new Events;
  return instance;
}

struct Actions {
  std::mutex mutex;
  std::list<std::function<void()>> list;
};

Actions& actions() {
  static Actions& instance = *new Actions;
  return instance;
}

/// Called by the system on a thread of its own.
BOOL WINAPI onConsoleEvent(DWORD type) {
  if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) return FALSE;
  const std::lock_guard lock(events().mutex);
  if (++events().interrupts > 1 && events().isEnding) TerminateProcess(GetCurrentProcess(), kInterrupted);
  events().changed.notify_all();
  return TRUE;
}

}  // namespace

InterruptAction::InterruptAction(std::function<void()> action) {
  const std::lock_guard lock(actions().mutex);
  place_ = actions().list.insert(actions().list.begin(), std::move(action));
}

InterruptAction::~InterruptAction() {
  const std::lock_guard lock(actions().mutex);
  actions().list.erase(place_);
}

void takeInterruptActions() {
  actions().mutex.lock();
  for (const auto& action : actions().list) action();
}

void catchInterrupts() { SetConsoleCtrlHandler(onConsoleEvent, TRUE); }

void announceDone() {
  const std::lock_guard lock(events().mutex);
  events().done = true;
  events().changed.notify_all();
}

std::optional<Event> waitForEvent(std::chrono::seconds limit) {
  std::unique_lock lock(events().mutex);
  const auto something = [] { return events().done || events().interrupts != 0; };
  if (limit.count() == 0) {
    events().changed.wait(lock, something);
  } else if (!events().changed.wait_for(lock, limit, something)) {
    return std::nullopt;
  }
  return events().interrupts != 0 ? Event::interrupted : Event::done;
}

void letOneInterruptPass() {
  const std::lock_guard lock(events().mutex);
  events().isEnding = true;
}

}  // namespace qzcall

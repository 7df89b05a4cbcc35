#include "Tools/qzcall/Run.h"

#include <chrono>
#include <future>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "Tools/qzcall/Interrupt.h"

namespace qzcall {
namespace {

int finishWith(const Finish& finish) {
  letOneInterruptPass();
  const int code = finish();
  if (!std::cout.flush()) throw std::runtime_error("the output could not be written");
  return code;
}

Ended endInterrupted() {
  takeInterruptActions();
  std::cerr << "qzcall: interrupted\n";
  return {kInterrupted, true};
}

/// A command's work on its thread.
class Work {
 public:
  explicit Work(const std::function<Finish()>& work) {
    std::packaged_task<Finish()> task(work);
    finish_ = task.get_future();
    thread_ = std::thread([task = std::move(task)]() mutable {
      task();
      announceDone();
    });
  }
  ~Work() {
    if (thread_.joinable()) thread_.detach();
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;

  Finish result() {
    thread_.join();
    return finish_.get();
  }

 private:
  std::future<Finish> finish_;
  std::thread thread_;
};

}  // namespace

Ended run(const Command& command) {
  Work work(command.work);
  const auto event = waitForEvent(std::chrono::seconds(command.limit));
  if (!event) return {finishWith(command.late), true};
  if (*event == Event::interrupted) return endInterrupted();
  return {finishWith(work.result())};
}

}  // namespace qzcall

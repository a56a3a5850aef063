#include "clients/velmctl/Interrupt.h"

#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <poll.h>
#include <system_error>
#include <unistd.h>

#include "clients/velmctl/Errors.h"

// The effects of the signals:
//
//    the first -----------------------> raised_, then the notice for who waits for input, then calls are cancelled
//    more within 300 ms --------------> nothing: they are the same wish, told twice
//    another one ---------------------> the process ends at once, whatever it is doing
//
// The signals are blocked and read from a file by a thread: a handler could neither take a lock nor cancel a call. They
// are blocked before any other thread is made, since threads inherit that.
//
// No call is missed. raise() sets raised_ before it takes the mutex and looks at the calls; a Guard enters its call
// under the mutex and then looks at raised_. Whichever comes second sees the other, and to cancel twice does no harm.
namespace VelmSdkRpc::ctl {
namespace {

int checked(int file) {
   if (file < 0) throw std::system_error(errno, std::generic_category(), "velmctl: cannot wait for signals");
   return file;
}

int blockedSignals() {
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, SIGINT);
   sigaddset(&set, SIGTERM);
   pthread_sigmask(SIG_BLOCK, &set, nullptr);
   return signalfd(-1, &set, SFD_CLOEXEC);
}

/// Waits until one of the two files can be read: whether it is the first.
bool firstIsReady(int first, int second) {
   std::array<pollfd, 2> files{{{first, POLLIN, 0}, {second, POLLIN, 0}}};
   while (poll(files.data(), files.size(), -1) < 0 && errno == EINTR) {
   }
   return files[0].revents != 0;
}

void write(int event) { eventfd_write(event, 1); }

}  // namespace

Interrupt::Interrupt()
   : stop_(checked(eventfd(0, EFD_CLOEXEC))),
     notice_(checked(eventfd(0, EFD_CLOEXEC))),
     signals_(checked(blockedSignals())),
     thread_([this] {
        // A terminal and the program that started this one may both pass on one and the same wish.
        constexpr std::chrono::milliseconds together(300);
        std::chrono::steady_clock::time_point first;
        while (!firstIsReady(stop_, signals_)) {
           signalfd_siginfo signal{};
           if (read(signals_, &signal, sizeof signal) != sizeof signal) continue;
           auto const now = std::chrono::steady_clock::now();
           if (!raised_) {
              raise();
              first = now;
           } else if (now - first > together) {
              _exit(ExitStatus::interrupted);
           }
        }
     }) {}

Interrupt::~Interrupt() {
   write(stop_);
   thread_.join();
   for (int const file : {stop_, notice_, signals_}) close(file);
}

void Interrupt::check() const {
   if (isRaised()) throw Interrupted();
}

bool Interrupt::awaitInput(int file) const { return !firstIsReady(notice_, file); }

void Interrupt::raise() {
   raised_ = true;
   write(notice_);
   std::lock_guard const lock(mutex_);
   for (auto* const call : calls_) call->TryCancel();
}

Interrupt::Guard::Guard(Interrupt& interrupt, grpc::ClientContext& call) : interrupt_(interrupt), call_(call) {
   std::lock_guard const lock(interrupt_.mutex_);
   interrupt_.calls_.insert(&call_);
   if (interrupt_.raised_) call_.TryCancel();
}

Interrupt::Guard::~Guard() {
   std::lock_guard const lock(interrupt_.mutex_);
   interrupt_.calls_.erase(&call_);
}

}  // namespace VelmSdkRpc::ctl

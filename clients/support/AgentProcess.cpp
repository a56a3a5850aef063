#include "clients/support/AgentProcess.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <system_error>
#include <unistd.h>
#include <utility>

extern char** environ;

// The life of the process:
//
//    spawn ---> running ---> waitForEnd: reaped, its stderr read to the end, the collector joined
//      ^                                    |
//      +------------- restart --------------+
//
// It is spawned rather than forked, because gRPC has threads in this process, and a forked copy of it could not safely
// do anything before exec. A pidfd lets waitForEnd wait with a limit, without a signal handler and without polling.
// Both ends of the pipe close on exec: another child that had the write end would keep the collector from ever seeing
// the end.
namespace VelmSdkRpc {
namespace {

[[noreturn]] void fail(char const* what, int code) { throw std::system_error(code, std::generic_category(), what); }

}  // namespace

HeldPort::HeldPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t size = sizeof address;
   auto* const generic = reinterpret_cast<sockaddr*>(&address);
   if (socket_ < 0 || bind(socket_, generic, size) != 0 || listen(socket_, 1) != 0 ||
       getsockname(socket_, generic, &size) != 0) {
      fail("cannot hold a port", errno);
   }
   address_ = fmt::format("127.0.0.1:{}", ntohs(address.sin_port));
}

HeldPort::~HeldPort() { close(socket_); }

AgentProcess::AgentProcess(Options options) : options_(std::move(options)), address_(options_.listen) {
   if (address_.empty()) {
      folder_.emplace();
      address_ = "unix:" + folder_->path() + "/socket";
   }
   start();
}

void AgentProcess::restart() {
   status_.reset();
   start();
}

void AgentProcess::start() {
   std::array<int, 2> ends{};
   if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe", errno);
   try {
      spawn(ends[1]);
   } catch (...) {
      close(ends[0]);
      close(ends[1]);
      throw;
   }
   close(ends[1]);
   collector_ = std::thread([this, end = ends[0]] { collect(end); });
}

AgentProcess::~AgentProcess() {
   if (!status_) {
      signal(SIGKILL);
      waitForEnd();
   }
   if (collector_.joinable()) collector_.join();
}

void AgentProcess::spawn(int stderrWrite) {
   std::vector<std::string> words{options_.program, "--listen", address_};
   words.insert(words.end(), options_.arguments.begin(), options_.arguments.end());
   std::vector<char*> argv;
   argv.reserve(words.size() + 1);
   for (auto& word : words) argv.push_back(word.data());
   argv.push_back(nullptr);

   posix_spawn_file_actions_t actions;
   posix_spawn_file_actions_init(&actions);
   posix_spawn_file_actions_adddup2(&actions, stderrWrite, STDERR_FILENO);
   int const result = posix_spawn(&pid_, options_.program.c_str(), &actions, nullptr, argv.data(), environ);
   posix_spawn_file_actions_destroy(&actions);
   if (result != 0) fail(options_.program.c_str(), result);
}

void AgentProcess::collect(int stderrRead) {
   std::array<char, 4096> buffer;
   for (ssize_t size = 0; (size = read(stderrRead, buffer.data(), buffer.size())) > 0;) {
      std::lock_guard const lock(mutex_);
      stderr_.append(buffer.data(), static_cast<std::size_t>(size));
   }
   close(stderrRead);
}

std::shared_ptr<grpc::Channel> AgentProcess::channel() const {
   grpc::ChannelArguments arguments;
   arguments.SetMaxReceiveMessageSize(-1);
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);  // the agent is on this machine
   // Not the least one: by it gRPC gives a connection up, also to an agent that is only busy.
   arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 50);
   arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 50);
   return grpc::CreateCustomChannel(address_, grpc::InsecureChannelCredentials(), arguments);
}

bool AgentProcess::waitUntilServing(std::chrono::milliseconds timeout) const {
   return channel()->WaitForConnected(std::chrono::system_clock::now() + timeout);
}

void AgentProcess::signal(int number) const { kill(pid_, number); }

std::optional<int> AgentProcess::waitForEnd(std::chrono::milliseconds timeout) {
   if (status_) return status_;
   int const handle = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
   pollfd end{.fd = handle, .events = POLLIN, .revents = 0};
   bool const ended = poll(&end, 1, static_cast<int>(timeout.count())) == 1;
   close(handle);
   int status = 0;
   if (!ended || waitpid(pid_, &status, 0) != pid_) return std::nullopt;
   collector_.join();
   return status_ = status;
}

std::string AgentProcess::stderrText() const {
   std::lock_guard const lock(mutex_);
   return stderr_;
}

}  // namespace VelmSdkRpc

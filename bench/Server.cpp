#include "bench/Server.h"

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

// A server is a process of its own, so that its processor time can be told from the client's: time on the clock moves
// by half on a machine that is shared, processor time hardly does.
namespace VelmSdkRpc::Bench {

Server::Server(std::string const& program, std::vector<std::string> arguments)
   : process_({.program = program, .listen = {}, .arguments = std::move(arguments)}), channel_(process_.channel()) {
   if (!process_.waitUntilServing() ||
       !channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20))) {
      throw std::runtime_error(fmt::format("{} does not serve: {}", program, process_.stderrText()));
   }
}

void Server::stop() {
   process_.signal(SIGTERM);
   if (process_.waitForEnd() != 0) {
      throw std::runtime_error(fmt::format("the agent ends badly: {}", process_.stderrText()));
   }
}

double Server::cpuSeconds() const {
   clockid_t clock = 0;
   timespec time{};
   if (clock_getcpuclockid(process_.pid(), &clock) != 0 || clock_gettime(clock, &time) != 0) {
      throw std::runtime_error(fmt::format("a server has ended: {}", process_.stderrText()));
   }
   return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Server::residentBytes() const {
   std::ifstream file(fmt::format("/proc/{}/statm", process_.pid()));
   std::size_t total = 0;
   std::size_t resident = 0;
   file >> total >> resident;
   return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

Sample timed(Server const& server, std::function<void()> const& calls) {
   auto const cpuBefore = server.cpuSeconds();
   auto const begin = std::chrono::steady_clock::now();
   calls();
   auto const end = std::chrono::steady_clock::now();
   return {std::chrono::duration<double>(end - begin).count(), server.cpuSeconds() - cpuBefore};
}

std::vector<std::string> quietly() { return {"--trace", "VelmSdkRpc/0"}; }

std::vector<std::string> quietlyIn(std::string const& folder) {
   auto arguments = quietly();
   arguments.insert(arguments.end(), {"--switch-state", folder});
   return arguments;
}

}  // namespace VelmSdkRpc::Bench

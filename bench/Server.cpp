#include "bench/Server.h"

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace VelmSdkRpc::Bench {

Server::Server(std::string name, std::string const& program, std::vector<std::string> arguments)
   : name_(std::move(name)),
     process_({.program = program, .listen = {}, .arguments = std::move(arguments)}),
     channel_(process_.channel()),
     stub_(pb::velmsdk_service::NewStub(channel_)) {
   if (!process_.waitUntilServing() ||
       !channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20))) {
      throw std::runtime_error(fmt::format("{} does not serve: {}", program, process_.stderrText()));
   }
}

std::shared_ptr<grpc::Channel> Server::newNarrowChannel() const {
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
   // Else the window opens as far as the speed of the connection makes it seem worthwhile: megabytes.
   arguments.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
   return grpc::CreateCustomChannel(process_.address(), grpc::InsecureChannelCredentials(), arguments);
}

void Server::stop() {
   process_.signal(SIGTERM);
   if (process_.waitForEnd() != 0)
      throw std::runtime_error(fmt::format("{} ends badly: {}", name_, process_.stderrText()));
}

double Server::cpuSeconds() const {
   clockid_t clock = 0;
   timespec time{};
   if (clock_getcpuclockid(process_.pid(), &clock) != 0 || clock_gettime(clock, &time) != 0) {
      throw std::runtime_error(fmt::format("{} has ended: {}", name_, process_.stderrText()));
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

std::vector<std::string> quietly() { return {"--trace", "VelmSdkRpc/0"}; }

std::vector<std::string> quietlyIn(std::string const& folder) {
   auto arguments = quietly();
   arguments.insert(arguments.end(), {"--switch-state", folder});
   return arguments;
}

}  // namespace VelmSdkRpc::Bench

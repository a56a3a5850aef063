#include "bench/Program.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>

namespace VelmSdkRpc::Bench {

int benchmarkMain(int argc, char** argv, std::string const& name, std::string const& description,
                  std::function<void(CLI::App&)> const& addOptions, std::function<void()> const& run) {
   CLI::App app(description, name);
   app.option_defaults()->always_capture_default();
   addOptions(app);
   CLI11_PARSE(app, argc, argv);
   try {
      run();
   } catch (std::exception const& e) {
      fmt::print(stderr, "{}: {}\n", name, e.what());
      return 1;
   }
   return 0;
}

}  // namespace VelmSdkRpc::Bench

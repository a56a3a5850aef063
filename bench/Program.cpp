#include "bench/Program.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>

namespace VelmSdkRpc::Bench {

Program::Program(std::string const& name, std::string const& description) : app_(description, name) {
   app_.option_defaults()->always_capture_default();
}

Program& Program::agent(std::string& path) {
   app_.add_option("--agent", path, "The agent's program")->required();
   return *this;
}

Program& Program::floor(std::string& path) {
   app_.add_option("--floor", path, "The floor's program")->required();
   return *this;
}

Program& Program::json(std::string& path) {
   app_.add_option("--json", path, "File to leave the results in");
   return *this;
}

int Program::main(int argc, char** argv, std::function<void()> const& run) {
   CLI11_PARSE(app_, argc, argv);
   try {
      run();
   } catch (std::exception const& e) {
      fmt::print(stderr, "{}: {}\n", app_.get_name(), e.what());
      return 1;
   }
   return 0;
}

}  // namespace VelmSdkRpc::Bench

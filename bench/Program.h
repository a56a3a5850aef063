#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace VelmSdkRpc::Bench {

/// A benchmark's command line and its main. The options' values are the caller's and hold the defaults.
class Program {
 public:
   Program(std::string const& name, std::string const& description);

   /// The paths of the two programs that are compared, and of the file to leave the JSON in; empty for none.
   Program& agent(std::string& path);
   Program& floor(std::string& path);
   Program& json(std::string& path);
   /// One number, or a list of them, all above 0.
   template <class Count>
   Program& count(std::string const& option, Count& value, std::string const& description) {
      app_.add_option(option, value, description)->check(CLI::PositiveNumber);
      return *this;
   }
   /// For what is none of these.
   CLI::App& app() { return app_; }

   /// Reads the options, then runs. What run throws is told on stderr and makes the exit status 1.
   int main(int argc, char** argv, std::function<void()> const& run);

 private:
   CLI::App app_;
};

}  // namespace VelmSdkRpc::Bench

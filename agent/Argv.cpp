#include "agent/Argv.h"

#include <algorithm>

namespace VelmSdkRpc::argv {
namespace {

std::string_view textOf(char const* argument) {
   return argument == nullptr ? std::string_view() : std::string_view(argument);
}

}  // namespace

std::vector<char*> vectorize(int argc, char** argv) { return {argv, argv + argc}; }

std::string_view getOptionValue(std::vector<char*>& args, std::string_view name, std::string_view defaultValue) {
   auto it = std::ranges::find(args, name, textOf);
   if (it == args.end()) return defaultValue;
   it = args.erase(it);
   if (it == args.end()) return defaultValue;
   auto const value = textOf(*it);
   args.erase(it);
   return value;
}

}  // namespace VelmSdkRpc::argv

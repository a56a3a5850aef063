#pragma once

#include <string_view>
#include <vector>

/// The agent's own command line. What it does not recognise stays in the vector, for the SDK's main loop.
namespace VelmSdkRpc::argv {

/// A copy of the argc pointers, no more: the closing null pointer is left out. The strings stay where they are.
std::vector<char*> vectorize(int argc, char** argv);

/// Takes the first argument that equals `name`, and the one behind it, out of `args`, and gives the latter. The value
/// is taken blindly, even if it looks like an option. Without the option, or behind an option that stands last (which
/// is taken out all the same), the default. A null value gives a view of a null pointer.
std::string_view getOptionValue(std::vector<char*>& args, std::string_view name, std::string_view defaultValue);

}  // namespace VelmSdkRpc::argv

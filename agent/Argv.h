#pragma once

#include <string_view>
#include <vector>

/// The agent's own command line. Each option takes its value from the argument after it; there is no `--name=value`.
/// What the agent does not ask for stays in the vector, for the SDK's main loop, which has options of its own and
/// refuses what nobody knows.
namespace VelmSdkRpc::argv {

/// A copy of the argc pointers, no more: the closing null pointer is left out. The strings stay where they are.
std::vector<char*> vectorize(int argc, char** argv);

/// Takes the first argument that equals `name`, and the one after it, out of `args`, and gives the latter. The value is
/// taken blindly, even if it looks like an option. The default stands for an option that is not there, and for one that
/// stands last, which is taken out all the same. A null argument gives a view of a null pointer, as the default may: so
/// a caller can tell an empty value from none.
std::string_view getOptionValue(std::vector<char*>& args, std::string_view name, std::string_view defaultValue);

}  // namespace VelmSdkRpc::argv

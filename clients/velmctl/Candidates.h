#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Completion: the words that can stand at a place of the command line. `before` are the positional words in front of
/// it.
namespace VelmSdkRpc::ctl {

using Words = std::vector<std::string>;

Words serviceCandidates(Words const& before, std::string const& beginning);
/// Services, methods, messages and enums.
Words typeCandidates(Words const& before, std::string const& beginning);
/// For a command that takes a method and a request: "Service.", then "Service.method", then "field=" or, where a
/// message lies within, "field.".
Words callCandidates(Words const& before, std::string const& beginning);

/// All names that `describe` knows; methods only once their service has been typed.
Words describable(std::string_view beginning);

}  // namespace VelmSdkRpc::ctl

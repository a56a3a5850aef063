#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What the words of a command line can be, for completion.
namespace VelmSdkRpc::ctl {

using Words = std::vector<std::string>;

Words serviceCandidates(Words const& before, std::string const& beginning);
/// Services, methods, messages and enums.
Words typeCandidates(Words const& before, std::string const& beginning);
/// Of a command that takes a method and a request: "Service.", then "Service.method", then "field=" and, for what lies
/// within, "field.".
Words callCandidates(Words const& before, std::string const& beginning);

/// All names that `describe` knows; those of methods only behind the name of a service.
Words describable(std::string_view beginning);

}  // namespace VelmSdkRpc::ctl

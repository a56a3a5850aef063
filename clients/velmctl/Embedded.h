#pragma once

#include <string_view>

extern "C" {
extern char const velmctlSchemasBegin[];
extern char const velmctlSchemasEnd[];
extern char const velmctlCompletionBegin[];
extern char const velmctlCompletionEnd[];
}

/// Files that velmctl has within it.
namespace VelmSdkRpc::ctl {

/// A FileDescriptorSet of all schemas, with their comments.
inline std::string_view embeddedSchemas() { return {velmctlSchemasBegin, velmctlSchemasEnd}; }
/// The shell's part of completion.
inline std::string_view embeddedCompletion() { return {velmctlCompletionBegin, velmctlCompletionEnd}; }

}  // namespace VelmSdkRpc::ctl

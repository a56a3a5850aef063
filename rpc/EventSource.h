#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>

namespace VelmSdkRpc {

/// Which event a stream with a queue of responses waits for. Its mutex guards it: at most one alarm or Write is
/// outstanding, so only the step from idle to busy costs an alarm.
enum class EventSource : std::uint32_t {
   None = 0,   // the handler is idle
   Alarm = 1,  // its alarm has been set
   Write = 2,  // a Write is in flight
};

}  // namespace VelmSdkRpc

template <>
struct fmt::formatter<VelmSdkRpc::EventSource> : fmt::formatter<fmt::string_view> {
   template <class FormatContext>
   auto format(VelmSdkRpc::EventSource source, FormatContext& context) const {
      using Base = fmt::formatter<fmt::string_view>;
      switch (source) {
         case VelmSdkRpc::EventSource::None: return Base::format("NONE", context);
         case VelmSdkRpc::EventSource::Alarm: return Base::format("ALARM", context);
         case VelmSdkRpc::EventSource::Write: return Base::format("WRITE", context);
      }
      throw std::logic_error(fmt::format("Unknown event source {}", static_cast<std::uint32_t>(source)));
   }
};

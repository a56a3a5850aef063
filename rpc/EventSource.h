#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>

namespace VelmSdkRpc {

/// Which event a stream with a queue of responses waits for. The handler's mutex guards it.
///
///   a response is queued, and the source is None     the alarm is set     Alarm
///   a response is queued otherwise                   nothing, it waits    unchanged
///   the event comes, and the queue is not empty      a Write starts       Write
///   the event comes, and the queue is empty          nothing              None
///
/// So at most one alarm or Write is outstanding, and only the step from idle to busy costs an alarm, however many
/// responses follow.
enum class EventSource : std::uint32_t {
   None = 0,   // the handler is idle
   Alarm = 1,  // its alarm has been set
   Write = 2,  // a Write is in flight
};

}  // namespace VelmSdkRpc

/// For traces. Throws logic_error for a number that is none of these, which would mean that memory is corrupt.
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

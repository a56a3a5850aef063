#include "rpc/StatusTable.h"

#include <cstddef>
#include <exception>

#include "platform/qor/Text.h"
#include "platform/velm/errors.h"

namespace VelmSdkRpc {
namespace {

// A text that quotes a long name would arrive as RESOURCE_EXHAUSTED: a status travels among the headers, of which a
// client takes 8 KB, and each byte that is no plain ASCII as three.
constexpr std::size_t longestText = 2048;

grpc::Status statusOf(grpc::StatusCode code, std::exception const& e) {
   return {code, Qor::cutText(e.what(), longestText)};
}

}  // namespace

// The most derived class first: a range error is an argument error as well, and either is an error of the SDK.
grpc::Status statusOfCurrentException() noexcept {
   using enum grpc::StatusCode;
   try {
      throw;
   } catch (velm::invalid_range_error const& e) {
      return statusOf(OUT_OF_RANGE, e);
   } catch (velm::invalid_argument_error const& e) {
      return statusOf(INVALID_ARGUMENT, e);
   } catch (velm::configuration_error const& e) {
      return statusOf(FAILED_PRECONDITION, e);
   } catch (velm::unsupported_error const& e) {
      return statusOf(UNIMPLEMENTED, e);
   } catch (velm::error const& e) {
      return statusOf(INTERNAL, e);
   } catch (std::exception const& e) {
      return statusOf(UNKNOWN, e);
   } catch (...) {
      std::terminate();
   }
}

}  // namespace VelmSdkRpc

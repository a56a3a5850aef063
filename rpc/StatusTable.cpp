#include "rpc/StatusTable.h"

#include <exception>

#include "platform/velm/errors.h"

namespace VelmSdkRpc {

grpc::Status statusOfCurrentException() noexcept {
   using Status = grpc::Status;
   try {
      throw;
   } catch (velm::invalid_range_error const& e) {
      return Status(grpc::StatusCode::OUT_OF_RANGE, e.what());
   } catch (velm::invalid_argument_error const& e) {
      return Status(grpc::StatusCode::INVALID_ARGUMENT, e.what());
   } catch (velm::configuration_error const& e) {
      return Status(grpc::StatusCode::FAILED_PRECONDITION, e.what());
   } catch (velm::unsupported_error const& e) {
      return Status(grpc::StatusCode::UNIMPLEMENTED, e.what());
   } catch (velm::error const& e) {
      return Status(grpc::StatusCode::INTERNAL, e.what());
   } catch (std::exception const& e) {
      return Status(grpc::StatusCode::UNKNOWN, e.what());
   } catch (...) {
      std::terminate();
   }
}

}  // namespace VelmSdkRpc

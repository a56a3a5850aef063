#include "rpc/GrpcService.h"

namespace VelmSdkRpc {

namespace {
// Room for the armed handlers and a burst of calls before the table has to grow.
constexpr std::size_t expectedHandlers = 256;
}  // namespace

GrpcService::GrpcService(std::string name) : name_(std::move(name)), tracer_(name_.c_str()) {
   handlers_.reserve(expectedHandlers);
}

GrpcService::~GrpcService() = default;

void GrpcService::selfRegister(unsigned long index, grpc::ServerBuilder& builder) {
   index_ = index;
   registerRpcService(builder);
}

// Each service counts for itself: its index in the id tells its numbers from those of the others.
void* GrpcService::nextOpaqueId() { return makeOpaqueId(++lastNumber_, index_); }

void GrpcService::registerHandler(std::unique_ptr<RequestHandler> handler) {
   auto* const id = handler->id();
   std::lock_guard const lock(mutex_);
   handlers_.emplace(id, std::move(handler));
}

RequestHandler* GrpcService::findHandler(void* id) const {
   std::lock_guard const lock(mutex_);
   auto const it = handlers_.find(id);
   return it == handlers_.end() ? nullptr : it->second.get();
}

void GrpcService::eraseHandler(void* id) {
   // Destroyed outside the lock: freeing a long queue must not hold up a publisher.
   auto const gone = [&] {
      std::lock_guard const lock(mutex_);
      return handlers_.extract(id);
   }();
}

void GrpcService::clearHandlers() {
   // Declared before the lock, so that the handlers are destroyed after it.
   decltype(handlers_) gone;
   std::lock_guard const lock(mutex_);
   gone.swap(handlers_);
}

std::size_t GrpcService::handlerCount() const {
   std::lock_guard const lock(mutex_);
   return handlers_.size();
}

}  // namespace VelmSdkRpc

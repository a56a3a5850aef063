#include "trials/storm/OpenCall.h"

#include <grpcpp/impl/codegen/proto_utils.h>

#include <chrono>

namespace VelmSdkRpc::storm {

OpenCall::OpenCall(std::size_t index, google::protobuf::MethodDescriptor const& method,
                   std::unique_ptr<google::protobuf::Message> request)
   : index_(index), method_(method), request_(std::move(request)) {}

void OpenCall::start(grpc::GenericStub& stub, grpc::CompletionQueue& queue, bool held) {
   held_ = held;
   context_.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(90));  // an agent that hangs
   stream_ = stub.PrepareCall(&context_, "/" + method_.service()->full_name() + "/" + method_.name(), &queue);
   stream_->StartCall(this);
}

bool OpenCall::advance(bool ok) {
   switch (step_) {
      case Step::start: {
         if (!ok) break;
         grpc::Slice const slice(request_->SerializeAsString());
         step_ = Step::write;
         stream_->WriteLast(grpc::ByteBuffer(&slice, 1), grpc::WriteOptions(), this);
         return true;
      }
      case Step::write:  // one that failed tells why when it is finished
         if (held_ && ok) {
            step_ = Step::held;
         } else {
            read();
         }
         return true;
      case Step::read:
         if (!ok) break;
         take();
         read();
         return true;
      default: return false;
   }
   finish();
   return true;
}

void OpenCall::release() {
   held_ = false;
   if (step_ == Step::held) read();
}

void OpenCall::cancel() {
   cancelled_ = true;
   context_.TryCancel();
   release();
}

void OpenCall::read() {
   step_ = Step::read;
   stream_->Read(&buffer_, this);
}

void OpenCall::finish() {
   step_ = Step::finish;
   stream_->Finish(&status_, this);
}

void OpenCall::take() {
   ++messages_;
   if (!last_) last_ = newMessage(*method_.output_type());
   grpc::ProtoBufferReader reader(&buffer_);
   garbled_ = !last_->ParseFromZeroCopyStream(&reader) || garbled_;
}

std::string OpenCall::fault() const {
   if (garbled_) return method_.full_name() + ": an answer that cannot be parsed";
   return faultOf({method_, *request_, cancelled_, messages_, last_.get(), status_});
}

}  // namespace VelmSdkRpc::storm

#include "bench/SbfdWatch.h"

#include <google/protobuf/io/coded_stream.h>
#include <grpcpp/support/proto_buffer_reader.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace VelmSdkRpc::Bench {
namespace {

using google::protobuf::io::CodedInputStream;

// A batch is updates behind one another, each with a tag and its length in front.
bool nextUpdate(CodedInputStream& in, int& length) { return in.ReadTag() != 0 && in.ReadVarintSizeAsInt(&length); }

[[noreturn]] void failToParse() { throw std::runtime_error("a batch of sBFD updates cannot be parsed"); }

}  // namespace

std::size_t SbfdBatch::size() const {
   grpc::ProtoBufferReader reader(&bytes_);
   CodedInputStream in(&reader);
   std::size_t size = 0;
   for (int length = 0; nextUpdate(in, length); ++size) {
      if (!in.Skip(length)) failToParse();
   }
   return size;
}

SbfdBatch::Update SbfdBatch::first() const {
   grpc::ProtoBufferReader reader(&bytes_);
   CodedInputStream in(&reader);
   Update update;
   int length = 0;
   if (!nextUpdate(in, length)) failToParse();
   auto const limit = in.PushLimit(length);
   if (!update.ParseFromCodedStream(&in)) failToParse();
   in.PopLimit(limit);
   return update;
}

SbfdBatch::Update SbfdBatch::parse() const {
   grpc::ProtoBufferReader reader(&bytes_);
   Update batch;
   if (!batch.ParseFromZeroCopyStream(&reader)) failToParse();
   return batch;
}

SbfdWatch::SbfdWatch(Client& client, std::shared_ptr<grpc::Channel> const& channel, Take take)
   : client_(client), take_(std::move(take)), stub_(channel) {
   auto const method =
      std::string("/") + pb::velmsdk_service::service_full_name() + "/watch_sbfd_echo_session_status_msgs";
   stream_ = stub_.PrepareCall(&context_, method, &client_.queue());
   stream_->StartCall(this);
}

SbfdWatch::~SbfdWatch() {
   context_.TryCancel();
   client_.drainUntil([this] { return step_ == Step::stuck; });
   step_ = Step::ending;
   stream_->Finish(&status_, this);
   client_.drainUntil([this] { return step_ == Step::ended; });
}

void SbfdWatch::proceed(bool ok) {
   if (step_ == Step::ending) {
      step_ = Step::ended;
      return;
   }
   auto const before = std::exchange(step_, Step::stuck);  // until the next operation
   if (!ok) throw std::runtime_error("a stream of sBFD updates has ended");
   if (before == Step::opening) {
      step_ = Step::asking;
      grpc::Slice const empty;
      stream_->WriteLast(grpc::ByteBuffer(&empty, 1), grpc::WriteOptions(), this);
      return;
   }
   if (before == Step::reading) {
      hears_ = true;
      take_(SbfdBatch(batch_));
   }
   step_ = Step::reading;
   stream_->Read(&batch_, this);
}

}  // namespace VelmSdkRpc::Bench

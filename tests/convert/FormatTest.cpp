#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include "convert/Format.h"
#include "proto/remote/vapi.pb.h"

namespace VelmSdkRpc {
namespace {

using google::protobuf::TextFormat;

TEST(MessageLineTest, IsOneLine) {
   velm::remote::RunConfigCmdsRequest request;
   request.add_commands("interface Ethernet1");
   request.add_commands("line one\nline two");
   EXPECT_EQ(fmt::format("[{}]", request), R"([commands: "interface Ethernet1" commands: "line one\nline two"])");
   EXPECT_EQ(fmt::format("[{}]", velm::remote::RunConfigCmdsRequest()), "[]");
   pb::ip_route_bulk_msg bulk;  // native, without a text form of its own
   bulk.add_ip_route()->set_tag(7);
   EXPECT_EQ(fmt::format("{}", bulk), "ip_route { tag: 7 }");
}

/// Types with keys at every depth, one of them within itself, so that this does not lean on a schema that may change.
char const* const schema = R"(
   name: "keys.proto" syntax: "proto3" package: "test"
   message_type { name: "Key"
      field {name: "cak" number: 1 type: TYPE_STRING label: LABEL_OPTIONAL}
      field {name: "ckn" number: 2 type: TYPE_STRING label: LABEL_OPTIONAL} }
   message_type { name: "Profile"
      field {name: "key" number: 1 type: TYPE_MESSAGE type_name: ".test.Key" label: LABEL_REPEATED}
      field {name: "inner" number: 2 type: TYPE_MESSAGE type_name: ".test.Profile" label: LABEL_OPTIONAL}
      field {name: "cak" number: 3 type: TYPE_BYTES label: LABEL_REPEATED} })";

TEST(MessageLineTest, ShowsNoKeyAtAnyDepth) {
   google::protobuf::FileDescriptorProto file;
   ASSERT_TRUE(TextFormat::ParseFromString(schema, &file));
   google::protobuf::DescriptorPool pool;
   auto const* type = pool.BuildFile(file)->FindMessageTypeByName("Profile");
   google::protobuf::DynamicMessageFactory factory(&pool);
   std::unique_ptr<google::protobuf::Message> const profile(factory.GetPrototype(type)->New());
   ASSERT_TRUE(TextFormat::ParseFromString(
      R"(key {cak: "secret" ckn: "a"} key {cak: "secret"} inner {key {cak: "secret" ckn: "b"}} cak: "secret")",
      profile.get()));
   profile->GetReflection()->MutableUnknownFields(profile.get())->AddLengthDelimited(99, "secret");
   EXPECT_EQ(LinePrinter(type).line(*profile),
             R"(key { cak: *** ckn: "a" } key { cak: *** } inner { key { cak: *** ckn: "b" } } cak: ***)");
}

}  // namespace
}  // namespace VelmSdkRpc

#include "clients/velmctl/TextForm.h"

namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::FieldDescriptor;

bool isScalar(FieldDescriptor const& field) {
   return !field.is_repeated() && field.cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE;
}

}  // namespace

TextForm textFormOf(google::protobuf::Descriptor const& message) {
   if (message.field_count() == 1 && isScalar(*message.field(0))) return TextForm::value;
   if (message.field_count() == 2 && message.field(0)->type() == FieldDescriptor::TYPE_BYTES &&
       message.field(1)->name().ends_with("_length") && !message.field(1)->is_repeated()) {
      return TextForm::prefix;
   }
   return TextForm::none;
}

bool isMac(FieldDescriptor const& field) { return field.name().ends_with("mac"); }

}  // namespace VelmSdkRpc::ctl

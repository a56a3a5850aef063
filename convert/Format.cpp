#include "convert/Format.h"

#include <google/protobuf/descriptor.h>

#include <set>

namespace VelmSdkRpc {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::TextFormat;

// Stands in for the value of a field that must not be read in a trace.
class Hidden : public TextFormat::FastFieldValuePrinter {
 public:
   void PrintString(std::string const&, TextFormat::BaseTextGenerator* out) const override { out->PrintLiteral("***"); }
   void PrintBytes(std::string const&, TextFormat::BaseTextGenerator* out) const override { out->PrintLiteral("***"); }
};

// A printer takes a replacement for one field of one type at a time, so the whole tree of types below the first one is
// walked for fields that hold keys. Types can hold themselves, hence `seen`.
void hideKeys(TextFormat::Printer& printer, Descriptor const* type, std::set<Descriptor const*>& seen) {
   if (!seen.insert(type).second) return;
   for (int i = 0; i < type->field_count(); ++i) {
      auto const* field = type->field(i);
      if (field->message_type() != nullptr) {
         hideKeys(printer, field->message_type(), seen);
      } else if (field->name() == "cak") {
         printer.RegisterFieldValuePrinter(field, new Hidden);  // the printer owns it
      }
   }
}

}  // namespace

LinePrinter::LinePrinter(Descriptor const* type) {
   printer_.SetSingleLineMode(true);
   printer_.SetUseShortRepeatedPrimitives(true);
   printer_.SetHideUnknownFields(true);  // a newer client's field might hold a key, and prints without its name
   std::set<Descriptor const*> seen;
   hideKeys(printer_, type, seen);
}

std::string LinePrinter::line(google::protobuf::Message const& message) const {
   std::string text;
   printer_.PrintToString(message, &text);
   if (text.ends_with(' ')) text.pop_back();  // single line mode ends every field with a blank
   return text;
}

}  // namespace VelmSdkRpc

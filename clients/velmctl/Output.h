#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "clients/velmctl/Json.h"
#include "clients/velmctl/Readable.h"
#include "clients/velmctl/Rows.h"
#include "clients/velmctl/Terminal.h"

namespace VelmSdkRpc::ctl {

/// Where results go: standard output, in the form that the user has chosen. With `json` it holds exactly one document
/// in the end, whatever happens; with `jsonl` a document a line. Throws std::system_error when it cannot be written.
class Output {
 public:
   enum class Form { table, json, jsonLines };
   /// A list has rows, which become a table, or news, each of which is shown at once with its time.
   enum class List { rows, news };

   Output(Form form, Terminal const& terminal) : form_(form), terminal_(terminal) {}

   Form form() const { return form_; }

   /// The result as a whole. `names` says how objects in it are to be read.
   void result(Json const& document, Names names = Names::ofFields);
   /// A result that people see as a text of its own.
   void result(Json const& document, std::string_view text);

   /// The result as a list whose elements come one by one.
   void beginList(List kind);
   void element(Json const& value);
   /// Puts an error in the place of an element. People, who see a table, are told of it on standard error instead.
   void elementFailure(Json const& error);
   void endList();

   /// Puts an error into the result, unless that is complete and speaks for itself.
   void failure(Json const& error);
   /// All is out. Throws if it is not.
   void flush();

 private:
   enum class State { empty, inList, complete };

   void write(std::string_view text);
   void writeSections(Json const& document, Names names);
   void writeValues(Fields const& values);
   void writeTable(Json const& section);

   Form form_;
   Terminal const& terminal_;
   State state_ = State::empty;
   List kind_ = List::rows;
   bool hasElements_ = false;
   std::optional<Rows> rows_;  // while in a list of rows, as a table
};

}  // namespace VelmSdkRpc::ctl

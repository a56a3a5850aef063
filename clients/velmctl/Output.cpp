#include "clients/velmctl/Output.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <system_error>
#include <utility>

// A program that reads JSON must find one document whatever happens, also when a call fails half way through a list. So
// the state tells how far the result has come, and a failure closes what is open: nothing yet, a list, or all of it.

// A program that reads JSON must find one document whatever happens, also when a call fails half way through a list. So
// the state tells how far the result has come, and a failure closes what is open:
//
//    empty ------ result ----------------------------------> complete
//      |  beginList                                             ^
//      v                                                        |
//    in a list -- element, any number ------- endList ----------+
//
//    failure:  empty ----> the error is the result
//              in a list -> the error is its last element, and the list is closed
//              complete --> nothing: the result speaks for itself
//
// People get their errors on standard error, and a table as far as it had come.
namespace VelmSdkRpc::ctl {
namespace {

std::string timeOfDay() {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
   return fmt::format("{:%H:%M:%S}.{:03}", fmt::localtime(std::chrono::system_clock::to_time_t(now)), ms);
}

Json wrapped(Json const& error, JsonDocument& document) {
   Json object(rapidjson::kObjectType);
   addMember(object, "error", Json(error, document.GetAllocator()), document.GetAllocator());
   return object;
}

void addRows(Rows& rows, Json const& collection) {
   if (collection.IsArray()) {
      for (auto const& element : collection.GetArray()) rows.add(element);
   } else {
      for (auto const& member : collection.GetObject()) rows.add(member.value, textOf(member.name));
   }
}

}  // namespace

void Output::result(Json const& document, Names names) {
   state_ = State::complete;
   switch (form_) {
      case Form::json: return write(indentedText(document) + "\n");
      case Form::jsonLines: return write(compactText(document) + "\n");
      case Form::table: return writeSections(document, names);
   }
}

void Output::result(Json const& document, std::string_view text) {
   if (form_ != Form::table) return result(document);
   state_ = State::complete;
   write(text);
}

void Output::writeSections(Json const& document, Names names) {
   if (document.ObjectEmpty()) return write("OK\n");
   Fields values;
   Fields sections;
   for (auto const& field : fieldsOf(document, names)) {
      (isSection(*field.second, names) ? sections : values).push_back(field);
   }
   writeValues(values);
   bool const hasTitles = sections.size() + (values.empty() ? 0U : 1U) > 1;
   bool isFirst = values.empty();
   for (auto const& [path, section] : sections) {
      if (hasTitles) write(fmt::format("{}{}:\n", isFirst ? "" : "\n", headingsOf({path}).front()));
      isFirst = false;
      writeTable(*section);
   }
}

void Output::writeValues(Fields const& values) {
   std::vector<Path> paths;
   std::vector<std::string> texts;
   for (auto const& [path, value] : values) {
      auto text = readable(*value);
      if (text.empty()) continue;
      paths.push_back(path);
      texts.push_back(std::move(text));
   }
   auto const headings = headingsOf(paths);
   Columns columns(2);
   for (std::size_t i = 0; i < texts.size(); ++i) columns.widen({headings[i], texts[i]});
   for (std::size_t i = 0; i < texts.size(); ++i) write(columns.line({headings[i], texts[i]}) + "\n");
}

void Output::writeTable(Json const& section) {
   bool const isEmpty = section.IsArray() ? section.Empty() : section.ObjectEmpty();
   if (isEmpty) return write("none\n");
   if (!isCollection(section)) return writeValues(fieldsOf(section));
   Rows rows(terminal_, [this](std::string_view text) { write(text); });
   addRows(rows, section);
   rows.end();
}

void Output::beginList(List kind) {
   state_ = State::inList;
   kind_ = kind;
   if (form_ == Form::json) write("[");
   if (form_ == Form::table && kind == List::rows) {
      rows_.emplace(terminal_, [this](std::string_view text) { write(text); });
   }
}

void Output::element(Json const& value) {
   switch (form_) {
      case Form::json: write(fmt::format("{}{}", hasElements_ ? ",\n" : "\n", compactText(value))); break;
      case Form::jsonLines: write(compactText(value) + "\n"); break;
      case Form::table:
         if (rows_) {
            rows_->add(value);
         } else {
            write(fmt::format("{}  {}\n", timeOfDay(), readable(value)));
         }
   }
   hasElements_ = true;
   if (kind_ == List::news) flush();
}

void Output::elementFailure(Json const& error) {
   if (form_ == Form::table) return;
   JsonDocument document;
   element(wrapped(error, document));
}

void Output::endList() {
   if (state_ != State::inList) return;
   state_ = State::complete;
   if (form_ == Form::json) write(hasElements_ ? "\n]\n" : "]\n");
   if (rows_) rows_->end();
   if (rows_ && !hasElements_) write("none\n");
}

void Output::failure(Json const& error) {
   if (form_ == Form::table) {
      if (rows_ && hasElements_) endList();
      return;  // people read standard error
   }
   if (state_ == State::empty) {
      JsonDocument document;
      result(wrapped(error, document));
   } else if (state_ == State::inList) {
      elementFailure(error);
      endList();
   }
}

void Output::write(std::string_view text) {
   if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) flush();
}

void Output::flush() {
   if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
   }
}

}  // namespace VelmSdkRpc::ctl

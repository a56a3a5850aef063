#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/velmctl/Json.h"

/// JSON as people read it: without the marks of its syntax, and without what says nothing.
namespace VelmSdkRpc::ctl {

/// 0, false, an empty text, list or object, or one of such.
bool isDefault(Json const& value);

/// "10.0.0.1"; "1,2,3"; "intf=Ethernet1 label=3" of an object, without its defaults.
std::string readable(Json const& value);

/// What the names in an object are that holds objects: those of fields, or also those of things of one kind.
enum class Names { ofFields, ofThings };

/// A list of objects, or objects by index or name: what is shown as a table.
bool isCollection(Json const& value, Names names);

/// The values of an object by name, those of an object within by "outer.inner". Lists and collections stay
/// whole, each as one value.
using Fields = std::vector<std::pair<std::string, Json const*>>;
Fields fieldsOf(Json const& object, Names names = Names::ofFields);

/// For each path the name behind its last dot, or all of it where another one has the same name there.
std::vector<std::string> headingsOf(std::vector<std::string> const& paths);

}  // namespace VelmSdkRpc::ctl

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "clients/velmctl/Json.h"

/// JSON as people read it: without the marks of its syntax, and without what says nothing.
namespace VelmSdkRpc::ctl {

/// Whether a value says nothing: null, 0, false, an empty text or list, or an object all of whose values say nothing.
bool isDefault(Json const& value);

/// The value as one line: "10.0.0.1"; a list as "1,2,3"; an object as "intf=Ethernet1 label=3", without its defaults.
std::string readable(Json const& value);

/// Names in an object are those of a message's fields; in an answer of the switch they may also be those of things, of
/// groups for example.
enum class Names { ofFields, ofThings };

/// A list of objects, or objects by name: what can be shown as a table.
bool isCollection(Json const& value);
/// Whether a value is shown apart from the others of its object, as a section: a list of objects, objects by index and,
/// if names are those of things, any object.
bool isSection(Json const& value, Names names);

/// The names that lead to a value within an object, from the outermost on, with a character between them that is in
/// none.
using Path = std::string;
constexpr char pathSeparator = '\x1f';
inline bool isNested(Path const& path) { return path.find(pathSeparator) != Path::npos; }

/// The values of an object, also those of objects within. Lists and sections stay whole, each as one value.
using Fields = std::vector<std::pair<Path, Json const*>>;
Fields fieldsOf(Json const& object, Names names = Names::ofFields);

/// For each path its last name, or "outer.inner" where another one has the same last name.
std::vector<std::string> headingsOf(std::vector<Path> const& paths);

}  // namespace VelmSdkRpc::ctl

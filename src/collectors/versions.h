// The parts of extinfo that touch no file: from the parsed agent_cfg.json to the five versions.
#ifndef KXEPINFO_COLLECTORS_VERSIONS_H
#define KXEPINFO_COLLECTORS_VERSIONS_H

#include <jansson.h>

#include <string_view>

#include "common/records.h"

// Sets the five versions to their defaults. A `path` with one of the product's own directories
// anywhere in it gets those of the release that the module ships with, any other one zeros. The
// rest of the record is not touched.
void SetDefaultVersions(std::string_view path, _stExtInfo& out);

// Takes the versions from the members of the document's object "version", by which the strings of
// `out` that have a member are replaced or, by "plus", appended to; a member that is missing or no
// string is told in the log and leaves its string alone. False, told in the log, when there is no
// such object. `document` stays the caller's and may be null or any JSON value.
bool FillVersions(const json_t* document, _stExtInfo& out);

#endif  // KXEPINFO_COLLECTORS_VERSIONS_H

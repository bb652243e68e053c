// The least that replacing a file costs when readers must never see half of it, other writers must
// wait, and a power failure must lose nothing.
#ifndef KXEPINFO_BENCH_GROWTH_BARE_REPLACEMENT_H
#define KXEPINFO_BENCH_GROWTH_BARE_REPLACEMENT_H

#include <string>

// Locks `directory`/lock, reads the file `name` there when there is one, writes the text into a new
// file beside it, has both the new file and the directory on disk, and adds a line to a log. Ends
// the program when something fails.
void ReplaceBarely(const std::string& directory, const std::string& name, const std::string& text);

#endif  // KXEPINFO_BENCH_GROWTH_BARE_REPLACEMENT_H

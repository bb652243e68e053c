// Uploads of agents that are not there.
#ifndef KXEPINFO_BENCH_MANAGER_UPLOAD_H
#define KXEPINFO_BENCH_MANAGER_UPLOAD_H

#include <string>
#include <string_view>

// Of that agent, 1 and above, the frame of the upload with that number: the first and each 16th
// after it carry the agent's facts, and the first its last login too; all others resource usage
// alone. Each agent is a machine of its own.
std::string MakeUpload(unsigned agent, unsigned number);

// Whether an answer says that the upload was kept and comes from the machine that it should.
bool IsAccepted(std::string_view answer);

#endif  // KXEPINFO_BENCH_MANAGER_UPLOAD_H

// An upload for people.
#ifndef KX_APPS_COMMON_BLOCK_H
#define KX_APPS_COMMON_BLOCK_H

#include <cstdint>
#include <string>
#include <string_view>

#include "common/upload.h"

namespace kxapp {

// The sections that a cmd names, "resources, system, login"; bits without a name as "0x40", and
// "nothing" for 0.
std::string CmdInWords(std::uint32_t cmd);

// Lines, in local time, with all that the upload carries:
//
//   2026-11-21 11:52:03.123  agent 4711 (agt_ei)  resources, system, login
//     cpu 3.27 %  memory 1205 of 7951 MiB (15.2 %)
//     host build-7, Debian 12, x86_64, 64-bit, 4 processors, physical
//     kernel 6.1.0-18-amd64 #1 SMP PREEMPT_DYNAMIC
//     adapter  MAC                IPv4      IPv6
//     link     00-1A-2B-3C-4D-5E  10.0.0.5  fe80::1
//     versions agent 3.2.10, virus 2019, patch 2019, ioa 0, ioc 0.0; manager 127.0.0.1
//     changed; addresses changed
//     login root from 10.0.0.9 at 2026-11-21 08:15:00
//     besides rc_info { disk_read_speed: 5 }
//
// The last line (leftover.h) is there only for what the module never sends. All text comes from the
// agent: it is cut at its first zero byte and at 256 bytes, and what could disturb a terminal is
// escaped.
std::string Block(const Upload& upload);

// The line behind the block when the answer is not a plain acceptance, and one for the --fault that
// the answer suffered; nothing for a plain acceptance without a fault.
std::string AnswerInWords(const bf_kxepinfo::epinfo_msg_respone& answer, std::string_view fault);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_BLOCK_H

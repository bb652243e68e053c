// An upload for people.
#ifndef KX_APPS_KXEMGR_BLOCK_H
#define KX_APPS_KXEMGR_BLOCK_H

#include <cstdint>
#include <string>

#include "kxemgr/upload.h"

namespace kxemgr {

// The sections that a cmd names, "resources, system, login"; bits without a name as "0x40", and
// "nothing" for 0.
std::string CmdInWords(std::uint32_t cmd);

// A compact block of lines, in local time, with what the upload carries:
//
//   2026-11-21 11:52:03.123  agent 4711 (agt_ei)  resources, system, login
//     cpu 3.27 %  memory 1205 of 7951 MiB (15.2 %)
//     host build-7, Debian 12, Linux 6.1.0-18-amd64, x86_64, 64-bit, 4 processors, physical
//     adapter 00-1A-2B-3C-4D-5E  10.0.0.5  fe80::1
//     versions agent 3.2.10, virus 2019, patch 2019, ioa 0, ioc 0.0; manager 127.0.0.1
//     changed; addresses changed
//     login root from 10.0.0.9 at 2026-11-21 08:15:00
//
// All text in it comes from the agent: it is cut at its first zero byte and at 96 bytes, and what
// could disturb a terminal is escaped. At most 16 adapters and 8 addresses of an adapter are
// listed.
std::string Block(const Upload& upload);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_BLOCK_H

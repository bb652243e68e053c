#include <cerrno>
#include <cstring>
#include <new>

#include "common/json.h"
#include "common/number.h"
#include "common/text.h"
#include "kxectl/process.h"
#include "kxectl/status.h"

namespace kxectl {

namespace {

using kxapp::Json;
using kxapp::JsonString;
using kxapp::SetMember;

std::string Line(const char* name, const std::string& value) {
    std::string line = name;
    line.resize(13, ' ');
    return line + kxapp::Printable(value) + "\n";
}

std::string ModuleText(const Status& status) {
    const int failure = status.module.failure;
    if (failure == ENOENT || failure == ECONNREFUSED) {
        return "not there";
    }
    if (failure != 0) {
        return std::string("unknown: ") + std::strerror(failure);
    }
    return "process " + std::to_string(status.module.pid) + " of user " +
           std::to_string(status.module.user) +
           (status.since ? " since " + UtcText(*status.since) : "") +
           (status.program.empty() ? "" : ", " + status.program);
}

std::string AgentIdText(const Status& status) {
    if (status.id_unreadable != 0) {
        return std::string("unknown: ") + std::strerror(status.id_unreadable);
    }
    return status.agent_id.empty() ? "not drawn yet" : status.agent_id;
}

std::string LastUploadText(const Status& status) {
    if (status.log_unreadable != 0) {
        return std::string("unknown: ") + std::strerror(status.log_unreadable);
    }
    if (!status.last_upload) {
        return "not in the log, which tells accepted ones at level 4 only";
    }
    const LastUpload& last = *status.last_upload;
    return last.time + (last.accepted ? " accepted" : " " + last.failure) +
           (last.may_be_older ? "; later ones, if accepted, are in a log of level 4 only" : "");
}

std::string SettingText(const Setting& setting) {
    std::string text = "[" + setting.section + "] " + setting.key + " = " + setting.value;
    text += setting.is_default ? " (default; " + setting.file + ")" : " (" + setting.file + ")";
    if (setting.unreadable != 0) {
        text += std::string(", the file cannot be read: ") + std::strerror(setting.unreadable);
    } else if (!setting.fault.empty()) {
        text += ", in the file it " + setting.fault;
    }
    return text;
}

Json Number(std::uint64_t number) {
    return Json(json_integer(static_cast<json_int_t>(number)));
}

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json(json_null()) : JsonString(text);
}

Json ModuleJson(const Status& status) {
    if (status.module.failure != 0) {
        return Json(json_null());
    }
    Json module(json_object());
    SetMember(module.get(), "process", Number(static_cast<std::uint64_t>(status.module.pid)));
    SetMember(module.get(), "user", Number(status.module.user));
    SetMember(module.get(), "program", TextOrNull(status.program));
    SetMember(module.get(), "since", TextOrNull(status.since ? UtcText(*status.since) : ""));
    return module;
}

Json LastUploadJson(const Status& status) {
    if (!status.last_upload) {
        return Json(json_null());
    }
    Json upload(json_object());
    SetMember(upload.get(), "time", JsonString(status.last_upload->time));
    SetMember(upload.get(), "accepted", Json(json_boolean(status.last_upload->accepted)));
    SetMember(upload.get(), "failure", TextOrNull(status.last_upload->failure));
    SetMember(upload.get(), "may_be_older", Json(json_boolean(status.last_upload->may_be_older)));
    return upload;
}

Json SettingJson(const Setting& setting) {
    Json object(json_object());
    SetMember(object.get(), "file", JsonString(setting.file));
    SetMember(object.get(), "section", JsonString(setting.section));
    SetMember(object.get(), "key", JsonString(setting.key));
    SetMember(object.get(), "value", JsonString(setting.value));
    SetMember(object.get(), "default", Json(json_boolean(setting.is_default)));
    SetMember(object.get(), "fault", TextOrNull(setting.fault));
    SetMember(object.get(), "unreadable",
              TextOrNull(setting.unreadable == 0 ? "" : std::strerror(setting.unreadable)));
    return object;
}

Json SettingsJson(const Status& status) {
    Json array(json_array());
    for (const Setting& setting : status.settings) {
        if (json_array_append_new(array.get(), SettingJson(setting).release()) != 0) {
            throw std::bad_alloc();
        }
    }
    return array;
}

}  // namespace

std::string StatusForPeople(const Status& status) {
    std::string text = Line("installation", status.root.string());
    text += Line("module", ModuleText(status));
    text += Line("link", !status.online ? "unknown" : *status.online ? "online" : "offline");
    text += Line("agent id", AgentIdText(status));
    text += Line("last upload", LastUploadText(status));
    for (const auto& [name, version] : status.versions) {
        std::string part = name;
        part.append(" ").append(version);
        text += Line("version", part);
    }
    for (const Setting& setting : status.settings) {
        text += Line("setting", SettingText(setting));
    }
    return text;
}

std::string StatusAsJson(const Status& status) {
    Json whole(json_object());
    SetMember(whole.get(), "installation", JsonString(status.root.string()));
    SetMember(whole.get(), "module", ModuleJson(status));
    SetMember(whole.get(), "online",
              status.online ? Json(json_boolean(*status.online)) : Json(json_null()));
    const auto id = kxapp::ReadNumber(status.agent_id);
    SetMember(whole.get(), "agent_id", id ? Number(*id) : Json(json_null()));
    SetMember(whole.get(), "last_upload", LastUploadJson(status));
    Json versions(json_object());
    for (const auto& [name, version] : status.versions) {
        SetMember(versions.get(), name.c_str(), JsonString(version));
    }
    SetMember(whole.get(), "versions", std::move(versions));
    SetMember(whole.get(), "settings", SettingsJson(status));
    return kxapp::ToText(whole.get(), 2);
}

}  // namespace kxectl

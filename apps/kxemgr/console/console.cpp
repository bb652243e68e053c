#include "kxemgr/console/console.h"

#include <optional>
#include <utility>

#include "common/complain.h"
#include "kxemgr/console/access.h"
#include "kxemgr/console/address.h"
#include "kxemgr/console/api.h"
#include "kxemgr/console/protocol.h"
#include "kxemgr/console/server.h"

namespace kxemgr::console {

namespace {

constexpr std::int64_t kMsOfASecond = 1000;

// The rules that the settings make, or nothing and why not.
std::optional<Rules> MakeRules(const Settings& settings, const ListenAddress& address,
                               std::string& fault) {
    Rules rules;
    rules.host_names = settings.host_names;
    if (settings.token_file.empty()) {
        if (!address.loopback) {
            fault = "an address that other machines reach needs --http-token-file";
            return std::nullopt;
        }
        return rules;
    }
    auto token = ReadTokenFile(settings.token_file, fault);
    if (!token) {
        fault = "token file " + settings.token_file + ": " + fault;
        return std::nullopt;
    }
    rules.token = std::move(*token);
    rules.session_key = MakeSessionKey();
    return rules;
}

}  // namespace

// In the order in which they depend on each other: the server's threads end first.
struct Console::Parts {
    Parts(const Settings& settings, const ListenAddress& address, Rules rules)
        : url(UrlOf(address)),
          memory(settings.database.empty() ? std::make_unique<MemoryStore>() : nullptr),
          file(settings.database.empty() ? nullptr
                                         : std::make_unique<FileStore>(settings.database)),
          site(memory != nullptr ? static_cast<Store&>(*memory) : *file, feed, counters,
               std::move(rules), static_cast<std::int64_t>(settings.offline_after_s) * kMsOfASecond,
               settings.version),
          protocol([this](const Question& question) { return site.answer(question); }) {}

    std::string url;
    std::unique_ptr<MemoryStore> memory;  // one of the two
    std::unique_ptr<FileStore> file;
    Feed feed;
    Counters counters;
    Site site;
    Protocol protocol;
    std::optional<Server> server;
};

std::unique_ptr<Console> Console::Start(const Settings& settings, std::string& fault) {
    auto address = ParseListenAddress(settings.listen);
    if (!address) {
        fault = "'" + settings.listen + "' is not an address and a port, as 127.0.0.1:8627";
        return nullptr;
    }
    auto rules = MakeRules(settings, *address, fault);
    if (!rules) {
        return nullptr;
    }
    kxapp::Descriptor listening = Listen(*address, fault);
    if (listening.number() < 0) {
        fault = "cannot listen on " + settings.listen + ": " + fault;
        return nullptr;
    }
    auto parts = std::make_unique<Parts>(settings, *address, std::move(*rules));
    Protocol& protocol = parts->protocol;
    parts->server.emplace(std::move(listening), [&protocol](int socket) {
        try {
            protocol.serve(socket, {});
        } catch (const std::exception& error) {
            kxapp::Complain("a connection to the console is lost: %s", error.what());
        }
    });
    return std::unique_ptr<Console>(new Console(std::move(parts)));
}

Console::Console(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}

Console::~Console() {
    m_parts->feed.close();
    m_parts->server.reset();
}

const std::string& Console::url() const {
    return m_parts->url;
}

Observer Console::observer() {
    Observer observer;
    observer.on_upload = [this](const kxapp::Upload& upload, std::string_view /*fault*/,
                                const bf_kxepinfo::epinfo_msg_respone& answer) {
        try {
            on_upload(upload, answer);
        } catch (const std::exception& error) {
            kxapp::Complain("the console misses an upload: %s", error.what());
        }
    };
    observer.on_bad_upload = [this] { ++m_parts->counters.bad; };
    return observer;
}

void Console::on_upload(const kxapp::Upload& upload,
                        const bf_kxepinfo::epinfo_msg_respone& answer) {
    Parts& parts = *m_parts;
    ++(answer.status() != 0 ? parts.counters.accepted : parts.counters.refused);
    if (answer.status() != 0 && answer.duplicate() != 0) {
        ++parts.counters.duplicates;
    }
    if (parts.memory != nullptr) {
        parts.memory->record(upload);
    }
    if (upload.message.agent_id() != 0) {
        parts.feed.publish(EventText("upload", UploadData(upload, answer)));
    }
}

}  // namespace kxemgr::console

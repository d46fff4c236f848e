#include "kvlnmov/scenario/scratch_database.h"

#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "kvlnmov/db/open.h"

namespace kvlnmov::scenario {

namespace {

std::string serverConnectionString() {
    const char* server = std::getenv("KVLNMOV_TEST_MSSQL");
    if (!server || !*server)
        throw std::invalid_argument("the mssql provider needs KVLNMOV_TEST_MSSQL");
    return server;
}

}  // namespace

ScratchProvider scratchProvider(std::string_view name) {
    if (name.empty() || name == "sqlite") return ScratchProvider::Sqlite;
    if (name == "odbc") return ScratchProvider::Odbc;
    if (name == "mssql") return ScratchProvider::SqlServer;
    throw std::invalid_argument("the provider must be sqlite, odbc or mssql, not '" +
                                std::string(name) + "'");
}

ScratchProvider scratchProviderFromEnvironment() {
    const char* chosen = std::getenv("KVLNMOV_TEST_PROVIDER");
    return scratchProvider(chosen ? chosen : "");
}

ScratchDatabase::ScratchDatabase(ScratchProvider provider) : provider_(provider) {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvlnmov-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
    folder_ = pattern;
    if (provider_ == ScratchProvider::SqlServer) {
        static std::atomic<int> created{0};
        server_ = serverConnectionString();
        name_ = "kvlnmov_test_" + std::to_string(getpid()) + "_" + std::to_string(++created);
        db::openConnection(server_)->Execute("CREATE DATABASE [" + name_ + "]");
    }
}

ScratchDatabase::~ScratchDatabase() {
    if (!name_.empty()) {
        try {
            const auto server = db::openConnection(server_);
            server->Execute("ALTER DATABASE [" + name_ + "] SET SINGLE_USER WITH ROLLBACK IMMEDIATE");
            server->Execute("DROP DATABASE [" + name_ + "]");
        } catch (const std::exception&) {
            // A scratch database left behind must not fail the run that used it.
        }
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string ScratchDatabase::connectionString(int busyTimeoutMs) const {
    switch (provider_) {
        case ScratchProvider::Sqlite:
            return "Provider=SQLite;Data Source=" + file() +
                   ";Busy Timeout=" + std::to_string(busyTimeoutMs);
        case ScratchProvider::Odbc: {
            const char* driver = std::getenv("KVLNMOV_TEST_ODBC_DRIVER");
            return std::string("Driver=") + (driver && *driver ? driver : "SQLite3") +
                   ";Database=" + file() + ";Timeout=" + std::to_string(busyTimeoutMs) +
                   ";JournalMode=WAL;SyncPragma=NORMAL;Dialect=SQLite";
        }
        case ScratchProvider::SqlServer:
            break;
    }
    // The server's string with its own database (if it names one) replaced.
    std::string text;
    std::size_t start = 0;
    while (start < server_.size()) {
        std::size_t end = server_.find(';', start);
        if (end == std::string::npos) end = server_.size();
        std::string pair = server_.substr(start, end - start);
        std::string key = pair.substr(0, pair.find('='));
        key.erase(0, key.find_first_not_of(' '));
        for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!key.starts_with("database") && !pair.empty()) text += pair + ";";
        start = end + 1;
    }
    return text + "Database=" + name_;
}

db::ConnectionRef ScratchDatabase::connect(int busyTimeoutMs) const {
    return db::openConnection(connectionString(busyTimeoutMs));
}

db::ConnectionRef openScratchDatabase(ScratchProvider provider) {
    if (provider == ScratchProvider::Sqlite)
        return db::openConnection("Provider=SQLite;Data Source=:memory:");
    struct Held {
        explicit Held(ScratchProvider chosen) : database(chosen) {}
        ScratchDatabase database;
        db::ConnectionRef connection;  // declared last: closed before the database goes
    };
    auto held = std::make_shared<Held>(provider);
    held->connection = held->database.connect();
    return db::ConnectionRef(held, held->connection.get());
}

}  // namespace kvlnmov::scenario

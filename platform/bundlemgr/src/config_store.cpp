#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/mutex.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "config_document.h"

namespace NS_BUNDLEMGR1 {

using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

struct ConfigStore::State {
    /// One load, reload or reset at a time.
    Mutex control{LockRank::ServiceControl, "ConfigStore::control"};
    mutable Mutex mutex{LockRank::Configuration, "ConfigStore::mutex"};
    std::shared_ptr<const ConfigDocument> document KELP_GUARDED_BY(mutex) =
        std::make_shared<ConfigDocument>(defaultDocument());
    std::filesystem::path file KELP_GUARDED_BY(mutex);
    std::atomic<std::uint64_t> generation{1};  ///< incremented after the document has changed

    std::shared_ptr<const ConfigDocument> current() const {
        const MutexLock lock(mutex);
        return document;
    }
    void replace(ConfigDocument&& with, const std::filesystem::path& from) KELP_REQUIRES(control) {
        auto made = std::make_shared<const ConfigDocument>(std::move(with));
        const MutexLock lock(mutex);
        document.swap(made);
        file = from;
        ++generation;
    }
    std::vector<ConfigProblem> takeOver(ConfigDocument&& read, const std::filesystem::path& from)
        KELP_REQUIRES(control) {
        if (!read.problems.empty())
            return std::move(read.problems);
        replace(std::move(read), from);
        return {};
    }
};

namespace {

void traceKept(const ConfigDocument& read, const std::string& key) {
    const ConfigProblem change{read.name, read.lineOf(key), key,
                               "has changed, which takes effect at the next start"};
    kelp::util::traceFrom("configstore", change.text());
}

bool staysUntilRestart(const ConfigKey& key, const ConfigDocument& running) {
    if (key.isAgentOption())
        return false;
    const std::string name = key.name();
    const bool isNamingAddress =
        name == "naming.host" || name == "naming.port" || name == "naming.ssl_port";
    // a running embedded naming service keeps its address
    return key.needsRestart ||
           (isNamingAddress && std::get<bool>(running.values.at("naming.embedded")));
}

std::string optionText(const ConfigDocument& document, const std::string& key) {
    const auto found = document.agent.find(key);
    if (found == document.agent.end())
        return {};
    if (const auto* const number = std::get_if<std::int64_t>(&found->second.value))
        return tomlValue(*number);
    if (const auto* const text = std::get_if<std::string>(&found->second.value))
        return tomlValue(*text);
    return std::get<AgentOption::OtherType>(found->second.value).text;
}

std::vector<ConfigChange> changesBetween(const ConfigDocument& before,
                                         const ConfigDocument& after) {
    std::vector<ConfigChange> changes;
    for (const ConfigKey& key : configKeys()) {
        const bool isOption = key.isAgentOption();
        ConfigChange change{
            key.name(),
            isOption ? optionText(before, key.key) : tomlValue(before.values.at(key.name())),
            isOption ? optionText(after, key.key) : tomlValue(after.values.at(key.name()))};
        if (change.before != change.after)
            changes.push_back(std::move(change));
    }
    return changes;
}

/// Keep the values of the keys that need a restart.
void keepUntilRestart(const ConfigDocument& running, ConfigDocument& read) {
    for (const ConfigKey& key : configKeys()) {
        if (!staysUntilRestart(key, running))
            continue;
        const std::string name = key.name();
        const ConfigValue& kept = running.values.at(name);
        ConfigValue& inFile = read.values[name];
        if (inFile == kept)
            continue;
        traceKept(read, name);
        read.waiting[name] = std::move(inFile);
        inFile = kept;
    }
}

std::vector<ConfigChange> waitingIn(const ConfigDocument& document) {
    std::vector<ConfigChange> all;
    for (const auto& [key, value] : document.waiting)
        all.push_back({key, tomlValue(document.values.at(key)), tomlValue(value)});
    return all;
}

ConfigSetting settingOf(const ConfigDocument& document, const ConfigKey& key) {
    ConfigSetting setting;
    setting.key = key.name();
    setting.value = tomlValue(document.values.at(setting.key));
    if (const auto waiting = document.waiting.find(setting.key); waiting != document.waiting.end())
        setting.waiting = tomlValue(waiting->second);
    if (const int line = document.lineOf(setting.key); line > 0) {
        setting.file = document.name;
        setting.line = line;
    }
    return setting;
}

ConfigSetting agentSettingOf(const ConfigDocument& document, const ConfigKey& key) {
    ConfigSetting setting;
    setting.key = key.name();
    setting.value = tomlValue(key.standard);
    const auto found = document.agent.find(key.key);
    if (found == document.agent.end())
        return setting;
    const bool isInteger = std::holds_alternative<std::int64_t>(key.standard);
    setting.problem = agentProblem(document, key.key, found->second, isInteger).what;
    setting.file = document.name;
    setting.line = found->second.line;
    if (setting.problem.empty())
        setting.value = optionText(document, key.key);
    return setting;
}

template <class Value>
Value valueFor(const ConfigDocument& document, const std::string& key) {
    const auto found = document.values.find(key);
    if (found == document.values.end())
        throw std::logic_error("the configuration has no key " + key);
    const Value* const value = std::get_if<Value>(&found->second);
    if (value == nullptr)
        throw std::logic_error("the configuration's key " + key + " has another type");
    return *value;
}

template <class Value>
std::optional<Value> agentValue(const ConfigDocument& document, const std::string& key,
                                ConfigProblem* problem) {
    const auto found = document.agent.find(key);
    if (found == document.agent.end())
        return std::nullopt;
    ConfigProblem wrong =
        agentProblem(document, key, found->second, std::is_same_v<Value, std::int64_t>);
    if (wrong.what.empty())
        return std::get<Value>(found->second.value);
    if (problem != nullptr)
        *problem = std::move(wrong);
    return std::nullopt;
}

}  // namespace

std::string ConfigProblem::text() const {
    std::string where = file;
    if (line > 0)
        where += ":" + std::to_string(line);
    if (!key.empty())
        where += ": " + key;
    return where + ": " + what;
}

ConfigStore::ConfigStore() : state_(std::make_unique<State>()) {}
ConfigStore::~ConfigStore() = default;

ConfigStore& ConfigStore::instance() {
    // Never destroyed: threads that outlive main() still read it.
    static ConfigStore* const instance = new ConfigStore;
    return *instance;
}

std::vector<ConfigProblem> ConfigStore::load(const std::filesystem::path& file) {
    const MutexLock control(state_->control);
    return state_->takeOver(readDocument(file), file);
}

std::vector<ConfigProblem> ConfigStore::loadText(const std::string& toml, const std::string& name) {
    const MutexLock control(state_->control);
    return state_->takeOver(readDocumentText(toml, name), {});
}

std::vector<ConfigProblem> ConfigStore::reload(std::vector<ConfigChange>* changes,
                                               std::vector<ConfigChange>* waiting) {
    const MutexLock control(state_->control);
    const std::filesystem::path from = file();
    if (from.empty())
        return {};
    ConfigDocument read = readDocument(from);
    if (!read.problems.empty())
        return read.problems;
    const std::shared_ptr<const ConfigDocument> running = state_->current();
    keepUntilRestart(*running, read);
    if (changes != nullptr)
        *changes = changesBetween(*running, read);
    if (waiting != nullptr)
        *waiting = waitingIn(read);
    return state_->takeOver(std::move(read), from);
}

void ConfigStore::reset() {
    const MutexLock control(state_->control);
    state_->replace(defaultDocument(), {});
}

std::vector<ConfigProblem> ConfigStore::check(const std::filesystem::path& file) {
    const ConfigDocument read = readDocument(file);
    std::vector<ConfigProblem> all = read.problems;
    all.insert(all.end(), read.agentProblems.begin(), read.agentProblems.end());
    std::stable_sort(all.begin(), all.end(), [](const ConfigProblem& a, const ConfigProblem& b) {
        return a.line < b.line;
    });
    return all;
}

std::int64_t ConfigStore::integer(const std::string& key) const {
    return valueFor<std::int64_t>(*state_->current(), key);
}

bool ConfigStore::flag(const std::string& key) const {
    return valueFor<bool>(*state_->current(), key);
}

std::string ConfigStore::text(const std::string& key) const {
    return valueFor<std::string>(*state_->current(), key);
}

std::vector<std::string> ConfigStore::texts(const std::string& key) const {
    return valueFor<std::vector<std::string>>(*state_->current(), key);
}

std::optional<std::int64_t> ConfigStore::agentInteger(const std::string& key,
                                                      ConfigProblem* problem) const {
    return agentValue<std::int64_t>(*state_->current(), key, problem);
}

std::optional<std::string> ConfigStore::agentText(const std::string& key,
                                                  ConfigProblem* problem) const {
    return agentValue<std::string>(*state_->current(), key, problem);
}

ConfigProblem ConfigStore::problem(const std::string& key, const std::string& what) const {
    const std::shared_ptr<const ConfigDocument> document = state_->current();
    return {document->name, document->lineOf(key), key, what};
}

std::vector<ConfigSetting> ConfigStore::settings() const {
    const std::shared_ptr<const ConfigDocument> document = state_->current();
    std::vector<ConfigSetting> all;
    all.reserve(configKeys().size());
    for (const ConfigKey& key : configKeys())
        all.push_back(key.isAgentOption() ? agentSettingOf(*document, key)
                                          : settingOf(*document, key));
    return all;
}

std::uint64_t ConfigStore::generation() const {
    return state_->generation.load();
}

std::filesystem::path ConfigStore::file() const {
    const MutexLock lock(state_->mutex);
    return state_->file;
}

}  // namespace NS_BUNDLEMGR1

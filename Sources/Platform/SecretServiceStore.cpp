#include "Platform/SecretServiceStore.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Files.h"
#include "Platform/Result.h"

#include <libsecret/secret.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <gio/gio.h>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

struct Release {
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    template <class T>
    void operator()(T* object) const
    {
        g_object_unref(object);
    }
};
template <class T>
using Owned = std::unique_ptr<T, Release>;

// What is left for a call when the program has begun to wait for its end.
constexpr std::chrono::milliseconds readingAtEnd(0);
constexpr std::chrono::milliseconds writingAtEnd(3000);

// Cancels what runs under it when the time is up, or so long after the program has begun to wait for its end. The library's blocking calls
// can't be ended from their own thread.
class Deadline
{
public:
    Deadline(std::chrono::milliseconds limit, std::chrono::milliseconds leftAtEnd)
        : m_cancellable(g_cancellable_new()), m_watch([this, limit, leftAtEnd] { cancelAfter(limit, leftAtEnd); })
    {
    }
    ~Deadline()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isDone = true;
        }
        m_changed.notify_one();
        m_watch.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

    [[nodiscard]] GCancellable* cancellable() const { return m_cancellable.get(); }

private:
    void cancelAfter(std::chrono::milliseconds limit, std::chrono::milliseconds leftAtEnd)
    {
        using Clock = std::chrono::steady_clock;
        constexpr std::chrono::milliseconds glance(500);
        auto end = Clock::now() + limit;
        bool isEnding = false;
        std::unique_lock lock(m_mutex);
        while (!m_changed.wait_until(lock, std::min(end, Clock::now() + glance), [this] { return m_isDone; })) {
            if (!std::exchange(isEnding, isBackgroundWorkEnding()) && isEnding) {
                end = std::min(end, Clock::now() + leftAtEnd);
            }
            if (Clock::now() >= end) {
                lock.unlock();
                return g_cancellable_cancel(m_cancellable.get());
            }
        }
    }

    const Owned<GCancellable> m_cancellable;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isDone = false; // guarded by m_mutex
    std::thread m_watch; // last: it uses all the others
};

// A service object of the library that refuses where the library would ask the person: a collection may be locked between our look at
// it and our call. The library's blocking calls come here by both ways.
void setRefusal(GError** error)
{
    g_set_error_literal(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, "Nobody is asked");
}

GVariant* refuseToPrompt(SecretService*, SecretPrompt*, GCancellable*, const GVariantType*, GError** error)
{
    setRefusal(error);
    return nullptr;
}

void refuseToPromptLater(
    SecretService* service, SecretPrompt*, const GVariantType*, GCancellable* cancellable, GAsyncReadyCallback callback, gpointer userData)
{
    const Owned<GTask> task(g_task_new(service, cancellable, callback, userData));
    GError* error = nullptr;
    setRefusal(&error);
    g_task_return_error(task.get(), error);
}

GVariant* finishRefusing(SecretService*, GAsyncResult* result, GError** error)
{
    return static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
}

void initializeQuietService(gpointer classObject, gpointer)
{
    auto* service = static_cast<SecretServiceClass*>(classObject);
    service->prompt_sync = &refuseToPrompt;
    service->prompt_async = &refuseToPromptLater;
    service->prompt_finish = &finishRefusing;
}

GType quietServiceType()
{
    static const GType type = g_type_register_static_simple(SECRET_TYPE_SERVICE, "TessarinQuietSecretService", sizeof(SecretServiceClass),
        &initializeQuietService, sizeof(SecretService), nullptr, GTypeFlags(0));
    return type;
}

// Asked before the library looks for a bus, because without one it would start one, and what that starts stays behind.
bool hasSessionBus()
{
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    const char* runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
    return (address && *address) || (runtimeFolder && *runtimeFolder && fileExists(std::string(runtimeFolder) + "/bus"));
}

enum class Unreachable {
    noService, // there is nothing to talk to
    noAnswer, // there is something, but it says no, or nothing
};

bool meansNoService(const GError& error)
{
    // The last range is what the bus says when it tried to start the service and could not.
    return error.domain == G_DBUS_ERROR
        && (error.code == G_DBUS_ERROR_SERVICE_UNKNOWN || error.code == G_DBUS_ERROR_NAME_HAS_NO_OWNER
            || (error.code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED && error.code <= G_DBUS_ERROR_SPAWN_NO_MEMORY));
}

struct OpenService {
    Owned<GDBusConnection> bus; // the one that the library uses too
    Owned<SecretService> service;
};

Result<OpenService, Unreachable> openService(GCancellable* cancellable)
{
    if (!hasSessionBus()) {
        return Failure{ Unreachable::noService };
    }
    OpenService opened;
    GError* failure = nullptr;
    opened.bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, &failure));
    Owned<GError> error(failure);
    if (!opened.bus) {
        return Failure{ g_cancellable_is_cancelled(cancellable) ? Unreachable::noAnswer : Unreachable::noService };
    }
    // The session is ending, and the connection of the whole program went with it.
    if (g_dbus_connection_is_closed(opened.bus.get())) {
        return Failure{ Unreachable::noAnswer };
    }
    // Otherwise the end of the bus would end the program.
    g_dbus_connection_set_exit_on_close(opened.bus.get(), FALSE);
    failure = nullptr;
    opened.service.reset(secret_service_open_sync(quietServiceType(), nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, &failure));
    error.reset(failure);
    if (!opened.service) {
        return Failure{ error && meansNoService(*error) ? Unreachable::noService : Unreachable::noAnswer };
    }
    return opened;
}

// One secret in the service. Every call fails quietly: what cannot be had is not there.
class ServiceItem
{
public:
    ServiceItem(SecretService* service, GCancellable* cancellable, const std::string& serviceName, const std::string& account)
        : m_service(service)
        , m_cancellable(cancellable)
        , m_label("tessarin: " + account)
        , m_attributes(g_hash_table_new_full(&g_str_hash, &g_str_equal, &g_free, &g_free))
    {
        g_hash_table_insert(m_attributes.get(), g_strdup("service"), g_strdup(serviceName.c_str()));
        g_hash_table_insert(m_attributes.get(), g_strdup("account"), g_strdup(account.c_str()));
    }

    // The items with our attributes, whatever others they have, locked or not. Absent when the service does not say.
    [[nodiscard]] std::optional<std::vector<Owned<SecretItem>>> find() const
    {
        GError* failure = nullptr;
        GList* found = secret_service_search_sync(m_service, nullptr, m_attributes.get(), SECRET_SEARCH_ALL, m_cancellable, &failure);
        const Owned<GError> error(failure);
        std::vector<Owned<SecretItem>> items;
        for (const GList* entry = found; entry; entry = entry->next) {
            items.emplace_back(SECRET_ITEM(entry->data));
        }
        g_list_free(found);
        return error ? std::nullopt : std::optional(std::move(items));
    }

    [[nodiscard]] std::optional<std::string> read(SecretItem* item) const
    {
        if (secret_item_get_locked(item) || !secret_item_load_secret_sync(item, m_cancellable, nullptr)) {
            return std::nullopt;
        }
        const Owned<SecretValue> value(secret_item_get_secret(item));
        if (!value) {
            return std::nullopt;
        }
        gsize size = 0;
        const gchar* bytes = secret_value_get(value.get(), &size);
        return std::string(bytes, size);
    }

    [[nodiscard]] bool update(SecretItem* item, const std::string& secret) const
    {
        const Owned<SecretValue> value = makeValue(secret);
        return !secret_item_get_locked(item) && secret_item_set_secret_sync(item, value.get(), m_cancellable, nullptr);
    }

    void remove(SecretItem* item) const
    {
        if (!secret_item_get_locked(item)) {
            secret_item_delete_sync(item, m_cancellable, nullptr);
        }
    }

    [[nodiscard]] bool create(const std::string& secret) const
    {
        const Owned<SecretCollection> collection(
            secret_collection_for_alias_sync(m_service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, m_cancellable, nullptr));
        if (!collection || secret_collection_get_locked(collection.get())) {
            return false;
        }
        const Owned<SecretValue> value = makeValue(secret);
        const Owned<SecretItem> item(secret_item_create_sync(collection.get(), nullptr, m_attributes.get(), m_label.c_str(), value.get(),
            SECRET_ITEM_CREATE_REPLACE, m_cancellable, nullptr));
        return item != nullptr;
    }

private:
    [[nodiscard]] static Owned<SecretValue> makeValue(const std::string& secret)
    {
        return Owned<SecretValue>(secret_value_new(secret.data(), static_cast<gssize>(secret.size()), "application/octet-stream"));
    }

    SecretService* m_service;
    GCancellable* m_cancellable;
    std::string m_label;
    Owned<GHashTable> m_attributes;
};

} // namespace

SecretServiceStore::SecretServiceStore(FileSecretStore files, std::chrono::milliseconds timeLimit)
    : m_files(std::move(files)), m_timeLimit(timeLimit)
{
}

std::optional<std::string> SecretServiceStore::load(const std::string& service, const std::string& account)
{
    const Deadline deadline(m_timeLimit, readingAtEnd);
    const auto opened = openService(deadline.cancellable());
    if (!opened) {
        return opened.error() == Unreachable::noService ? m_files.load(service, account) : std::nullopt;
    }
    const ServiceItem item(opened.value().service.get(), deadline.cancellable(), service, account);
    const auto found = item.find();
    if (!found) {
        return std::nullopt;
    }
    for (const auto& each : *found) {
        if (auto secret = item.read(each.get())) {
            return secret;
        }
    }
    auto kept = found->empty() ? m_files.load(service, account) : std::nullopt;
    if (!kept || !item.create(*kept)) {
        return std::nullopt;
    }
    m_files.remove(service, account);
    return kept;
}

bool SecretServiceStore::save(const std::string& service, const std::string& account, const std::string& secret)
{
    const Deadline deadline(m_timeLimit, writingAtEnd);
    const auto opened = openService(deadline.cancellable());
    if (!opened) {
        return opened.error() == Unreachable::noService && m_files.save(service, account, secret);
    }
    const ServiceItem item(opened.value().service.get(), deadline.cancellable(), service, account);
    const auto found = item.find();
    if (!found) {
        return false;
    }
    // All of them, so that no older one is found later.
    bool isStored = found->empty() && item.create(secret);
    for (const auto& each : *found) {
        isStored = item.update(each.get(), secret) || isStored;
    }
    if (isStored) {
        m_files.remove(service, account);
    }
    return isStored;
}

void SecretServiceStore::remove(const std::string& service, const std::string& account)
{
    m_files.remove(service, account);
    const Deadline deadline(m_timeLimit, writingAtEnd);
    const auto opened = openService(deadline.cancellable());
    if (!opened) {
        return;
    }
    const ServiceItem item(opened.value().service.get(), deadline.cancellable(), service, account);
    const auto found = item.find();
    for (std::size_t index = 0; found && index < found->size(); ++index) {
        item.remove((*found)[index].get());
    }
}

} // namespace tessarin

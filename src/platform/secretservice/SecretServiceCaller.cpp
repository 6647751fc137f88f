#include "platform/secretservice/SecretServiceCaller.h"

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using Kind = KeychainError::Kind;

const SecretSchema schema = {"com.quillmere.app",
                             SECRET_SCHEMA_NONE,
                             {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

using Attributes = std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)>;

Attributes attributesOf(const KeychainItem& item) {
  return {secret_attributes_build(&schema, "service", item.service.toUtf8().constData(), "account",
                                  item.account.toUtf8().constData(), nullptr),
          &g_hash_table_unref};
}

// Takes over the error.
KeychainError errorOf(GError* given) {
  const std::unique_ptr<GError, decltype(&g_error_free)> error(given, &g_error_free);
  if (!error) return keychainError(Kind::failed);
  const auto is = [&](GQuark domain, int code) { return g_error_matches(error.get(), domain, code) != FALSE; };
  for (const GDBusError code :
       {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER, G_DBUS_ERROR_NO_SERVER, G_DBUS_ERROR_DISCONNECTED,
        G_DBUS_ERROR_SPAWN_EXEC_FAILED, G_DBUS_ERROR_SPAWN_CHILD_EXITED, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND,
        G_DBUS_ERROR_NO_REPLY})
    if (is(G_DBUS_ERROR, code)) return keychainError(Kind::absent);
  if (is(G_IO_ERROR, G_IO_ERROR_CLOSED)) return keychainError(Kind::absent);
  if (is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) return keychainError(Kind::locked);
  if (is(G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) return keychainError(Kind::timedOut);
  return keychainError(Kind::failed, QString::fromUtf8(error->message));
}

}  // namespace

KeychainError keychainError(Kind kind, const QString& detail) {
  switch (kind) {
    case Kind::absent:
      return {kind, localizedText("keychain.error.absent")};
    case Kind::locked:
      return {kind, localizedText("keychain.error.locked")};
    case Kind::missing:
      return {kind, localizedText("keychain.error.missing")};
    case Kind::timedOut:
      return {kind, localizedText("keychain.error.timedOut")};
    case Kind::failed:
      break;
  }
  return {kind, localizedText("keychain.error.failed", detail)};
}

void SecretServiceCaller::begin(quint64 number, Task<void> task) {
  std::erase_if(running_, [](const auto& entry) { return !entry.second.isValid() || entry.second.isDone(); });
  running_[number] = scope_.spawn(std::move(task));
}

Task<SecretServiceCaller::Ended> SecretServiceCaller::call(Start start, OnCancel onCancel) {
  struct Pending {
    Completion<Ended> ended;
    std::shared_ptr<int> calls;
  };
  const auto cancellable = GlibPointer<GCancellable>::taking(g_cancellable_new());
  Completion<Ended> ended;
  ++*calls_;
  start(
      cancellable.get(),
      [](GObject*, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
        --*pending->calls;
        pending->ended.resolve(Ended::sharing(result));
      },
      new Pending{ended, calls_});
  GCancellable* const toCancel = onCancel == OnCancel::end ? cancellable.get() : nullptr;
  const std::function<void()> cancel = [toCancel] { g_cancellable_cancel(toCancel); };
  co_return co_await ended.wait(cancel);
}

Task<Result<SecretServiceCaller::Service, KeychainError>> SecretServiceCaller::service() {
  const auto ownerOf = [](SecretService* service) {
    const std::unique_ptr<char, decltype(&g_free)> owner(g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service)), &g_free);
    return QByteArray(owner.get());
  };
  if (bus_ && g_dbus_connection_is_closed(bus_.get())) {
    service_ = {};
    bus_ = {};
  }
  // What was agreed with a service ends with it.
  if (service_ && !owner_.isEmpty() && ownerOf(service_.get()) == owner_) co_return service_;
  service_ = {};

  GError* error = nullptr;
  Start connect = [](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    g_bus_get(G_BUS_TYPE_SESSION, cancellable, done, data);
  };
  const Ended connected = co_await call(connect);
  bus_ = GlibPointer<GDBusConnection>::taking(g_bus_get_finish(connected.get(), &error));
  g_clear_error(&error);
  if (!bus_) co_return Failed{keychainError(Kind::absent)};
  // Otherwise the process ends with the bus.
  g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);

  Start open = [](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, done, data);
  };
  const Ended opened = co_await call(open);
  SecretService* const made = secret_service_open_finish(opened.get(), &error);
  if (!made) co_return Failed{errorOf(error)};
  service_ = Service::taking(made);
  owner_ = ownerOf(made);
  co_return service_;
}

Task<Result<GlibPointer<SecretCollection>, KeychainError>> SecretServiceCaller::defaultCollection(Service service) {
  Start start = [&service](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_collection_for_alias(service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, done,
                                data);
  };
  const Ended ended = co_await call(start);
  GError* error = nullptr;
  const auto collection =
      GlibPointer<SecretCollection>::taking(secret_collection_for_alias_finish(ended.get(), &error));
  if (error) co_return Failed{errorOf(error)};
  co_return collection;
}

Task<Result<void, KeychainError>> SecretServiceCaller::unlock(Service service, GlibPointer<GDBusProxy> object,
                                                              Prompt prompt) {
  if (!prompt->isAllowed) co_return Failed{keychainError(Kind::locked)};
  prompt->isOpen = true;
  GList objects{object.get(), nullptr, nullptr};
  Start start = [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_service_unlock(service.get(), &objects, cancellable, done, data);
  };
  const Ended ended = co_await call(start, OnCancel::leave);
  prompt->isOpen = false;
  GError* error = nullptr;
  const int count = secret_service_unlock_finish(service.get(), ended.get(), nullptr, &error);
  if (error) co_return Failed{errorOf(error)};
  if (count == 0) co_return Failed{keychainError(Kind::locked)};
  co_return Result<void, KeychainError>{};
}

Task<Result<SecretServiceCaller::Items, KeychainError>> SecretServiceCaller::find(Service service, KeychainItem item,
                                                                                  Prompt prompt) {
  const Attributes attributes = attributesOf(item);
  Start start = [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_service_search(service.get(), &schema, attributes.get(), SECRET_SEARCH_ALL, cancellable, done, data);
  };
  const Ended ended = co_await call(start);
  GError* error = nullptr;
  GList* const list = secret_service_search_finish(service.get(), ended.get(), &error);
  if (error) co_return Failed{errorOf(error)};
  Items items;
  for (GList* at = list; at; at = at->next) items.push_back(GlibPointer<SecretItem>::taking(SECRET_ITEM(at->data)));
  g_list_free(list);

  if (items.empty()) {
    // Some services do not tell what a locked collection holds.
    CO_TRY(const auto collection, co_await defaultCollection(service));
    if (!collection || !secret_collection_get_locked(collection.get())) co_return Failed{keychainError(Kind::missing)};
    CO_TRY_OK(co_await unlock(service, GlibPointer<GDBusProxy>::sharing(G_DBUS_PROXY(collection.get())), prompt));
    co_return co_await find(service, item, prompt);
  }
  for (const auto& found : items) {
    if (!secret_item_get_locked(found.get())) continue;
    CO_TRY_OK(co_await unlock(service, GlibPointer<GDBusProxy>::sharing(G_DBUS_PROXY(found.get())), prompt));
  }
  co_return items;
}

Task<Result<QString, KeychainError>> SecretServiceCaller::read(KeychainItem item, Prompt prompt) {
  CO_TRY(const auto service, co_await this->service());
  CO_TRY(const auto items, co_await find(service, item, prompt));
  SecretItem* const found = items.front().get();
  Start start = [found](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_item_load_secret(found, cancellable, done, data);
  };
  const Ended ended = co_await call(start);
  GError* error = nullptr;
  if (!secret_item_load_secret_finish(found, ended.get(), &error)) co_return Failed{errorOf(error)};
  SecretValue* const value = secret_item_get_secret(found);
  if (!value) co_return Failed{keychainError(Kind::locked)};
  gsize length = 0;
  const char* const bytes = secret_value_get(value, &length);
  const QString secret = QString::fromUtf8(bytes, qsizetype(length));
  secret_value_unref(value);
  co_return secret;
}

Task<Result<void, KeychainError>> SecretServiceCaller::write(KeychainItem item, QString secret, QString label,
                                                             Prompt prompt) {
  CO_TRY(const auto service, co_await this->service());
  CO_TRY(const auto collection, co_await defaultCollection(service));
  // One that is to be made asks for a password.
  if (!collection && !prompt->isAllowed) co_return Failed{keychainError(Kind::locked)};
  prompt->isOpen = !collection;
  if (collection && secret_collection_get_locked(collection.get()))
    CO_TRY_OK(co_await unlock(service, GlibPointer<GDBusProxy>::sharing(G_DBUS_PROXY(collection.get())), prompt));
  const Attributes attributes = attributesOf(item);
  const QByteArray bytes = secret.toUtf8(), name = label.toUtf8();
  const std::unique_ptr<SecretValue, void (*)(SecretValue*)> value(
      secret_value_new(bytes.constData(), bytes.size(), "text/plain"),
      [](SecretValue* made) { secret_value_unref(made); });
  Start start = [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
    secret_service_store(service.get(), &schema, attributes.get(), SECRET_COLLECTION_DEFAULT, name.constData(),
                         value.get(), cancellable, done, data);
  };
  const OnCancel onCancel = prompt->isOpen ? OnCancel::leave : OnCancel::end;
  const Ended ended = co_await call(start, onCancel);
  GError* error = nullptr;
  if (secret_service_store_finish(service.get(), ended.get(), &error)) co_return Result<void, KeychainError>{};
  if (!error) co_return Failed{keychainError(Kind::locked)};  // the prompt was dismissed
  co_return Failed{errorOf(error)};
}

Task<Result<void, KeychainError>> SecretServiceCaller::remove(KeychainItem item, Prompt prompt) {
  CO_TRY(const auto service, co_await this->service());
  CO_TRY(const auto items, co_await find(service, item, prompt));
  for (const auto& found : items) {
    SecretItem* const doomed = found.get();
    Start start = [doomed](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
      secret_item_delete(doomed, cancellable, done, data);
    };
    const Ended ended = co_await call(start);
    GError* error = nullptr;
    if (!secret_item_delete_finish(doomed, ended.get(), &error)) co_return Failed{errorOf(error)};
  }
  co_return Result<void, KeychainError>{};
}

}  // namespace quillmere

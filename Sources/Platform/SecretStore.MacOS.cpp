// Not yet compiled or run: there was no Mac to do it on. Whoever builds on one first runs the program twice and looks whether the key of
// the remote host stays.

#include "Platform/SecretStore.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>
#include <memory>
#include <objc/message.h>
#include <objc/runtime.h>
#include <type_traits>

namespace tessarin
{

namespace
{

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
template <class Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

Owned<CFDataRef> makeData(const std::string& bytes)
{
    return Owned<CFDataRef>(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()), static_cast<CFIndex>(bytes.size())));
}

Owned<CFStringRef> makeString(const std::string& text)
{
    return Owned<CFStringRef>(CFStringCreateWithBytes(
        nullptr, reinterpret_cast<const UInt8*>(text.data()), static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

Owned<CFMutableDictionaryRef> makeDictionary()
{
    return Owned<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

Owned<CFMutableDictionaryRef> makeQuery(const std::string& service, const std::string& account)
{
    auto query = makeDictionary();
    CFDictionarySetValue(query.get(), kSecClass, kSecClassGenericPassword);
    CFDictionarySetValue(query.get(), kSecAttrService, makeString(service).get());
    CFDictionarySetValue(query.get(), kSecAttrAccount, makeString(account).get());
    CFDictionarySetValue(query.get(), kSecUseDataProtectionKeychain, kCFBooleanTrue);
    return query;
}

// An LAContext with interactionNotAllowed, in plain C++: what could only be read after a question is not found.
class SilentContext
{
public:
    SilentContext()
    {
        const auto make = reinterpret_cast<id (*)(Class, SEL)>(objc_msgSend);
        const auto setBoolean = reinterpret_cast<void (*)(id, SEL, BOOL)>(objc_msgSend);
        m_context = make(objc_getClass("LAContext"), sel_registerName("new"));
        setBoolean(m_context, sel_registerName("setInteractionNotAllowed:"), YES);
    }
    ~SilentContext()
    {
        const auto release = reinterpret_cast<void (*)(id, SEL)>(objc_msgSend);
        release(m_context, sel_registerName("release"));
    }
    SilentContext(const SilentContext&) = delete;
    SilentContext& operator=(const SilentContext&) = delete;

    [[nodiscard]] const void* get() const { return m_context; }

private:
    id m_context;
};

class KeychainSecretStore : public SecretStore
{
public:
    [[nodiscard]] std::optional<std::string> load(const std::string& service, const std::string& account) override
    {
        const auto query = makeQuery(service, account);
        const SilentContext context;
        CFDictionarySetValue(query.get(), kSecUseAuthenticationContext, context.get());
        CFDictionarySetValue(query.get(), kSecReturnData, kCFBooleanTrue);
        CFDictionarySetValue(query.get(), kSecMatchLimit, kSecMatchLimitOne);
        CFTypeRef result = nullptr;
        if (SecItemCopyMatching(query.get(), &result) != errSecSuccess || !result) {
            return std::nullopt;
        }
        const Owned<CFTypeRef> owned(result);
        if (CFGetTypeID(result) != CFDataGetTypeID()) {
            return std::nullopt;
        }
        const auto* data = static_cast<CFDataRef>(result);
        return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data)), static_cast<std::size_t>(CFDataGetLength(data)));
    }

    bool save(const std::string& service, const std::string& account, const std::string& secret) override
    {
        const auto query = makeQuery(service, account);
        const auto value = makeData(secret);
        const auto change = makeDictionary();
        CFDictionarySetValue(change.get(), kSecValueData, value.get());
        OSStatus status = SecItemUpdate(query.get(), change.get());
        if (status == errSecItemNotFound) {
            CFDictionarySetValue(query.get(), kSecValueData, value.get());
            CFDictionarySetValue(query.get(), kSecAttrAccessible, kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly);
            status = SecItemAdd(query.get(), nullptr);
        }
        return status == errSecSuccess;
    }

    void remove(const std::string& service, const std::string& account) override
    {
        static_cast<void>(SecItemDelete(makeQuery(service, account).get()));
    }
};

} // namespace

std::unique_ptr<SecretStore> makeSystemSecretStore(std::string)
{
    return std::make_unique<KeychainSecretStore>();
}

} // namespace tessarin

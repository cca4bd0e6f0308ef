#include "Remote/RemoteHostConfiguration.h"

#include "../App/MemorySecretStore.h"
#include "Platform/BackgroundWork.h"
#include "Remote/RemoteCrypto.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace tessarin
{

using namespace RemoteHostConfiguration;
using testing::MemorySecretStore;

namespace
{

const std::string oldKey(32, 'o');
const std::string otherKey(32, 'p');
const Preferences::BytesReader nothing = [] { return Result<std::optional<std::string>, FileError>(std::nullopt); };

class LockedSecretStore final : public SecretStore
{
public:
    [[nodiscard]] std::optional<std::string> load(const std::string&, const std::string&) override { return std::nullopt; }
    bool save(const std::string&, const std::string&, const std::string&) override { return false; }
    void remove(const std::string&, const std::string&) override { ++removeCount; }
    int removeCount = 0;
};

Preferences::BytesReader holding(const std::string& bytes)
{
    return [bytes] { return Result<std::optional<std::string>, FileError>(std::optional(bytes)); };
}

} // namespace

TEST(RemoteSecretTest, TheFirstLaunchMakesAndStoresAKeyThatTheSecondLoads)
{
    MemorySecretStore secrets;
    int saveCount = 0;
    secrets.onSave = [&] { ++saveCount; };
    const auto first = loadOrCreateSecret(secrets, nothing);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->bytes.size(), RemoteCrypto::keyByteCount);
    EXPECT_FALSE(first->replacesPreference);
    EXPECT_EQ(saveCount, 1);
    const auto second = loadOrCreateSecret(secrets, nothing);
    ASSERT_TRUE(second.has_value());
    EXPECT_EQ(second->bytes, first->bytes);
    EXPECT_EQ(saveCount, 1);
}

TEST(RemoteSecretTest, TheKeyIsStoredUnderTheNamesOfTheOlderProduct)
{
    MemorySecretStore secrets;
    ASSERT_TRUE(loadOrCreateSecret(secrets, nothing).has_value());
    EXPECT_TRUE(secrets.find("com.local.Ombrelan.remote", "pairing-secret").has_value());
}

TEST(RemoteSecretTest, AKeyInThePreferencesMovesToTheStore)
{
    MemorySecretStore secrets;
    const auto moved = loadOrCreateSecret(secrets, holding(oldKey));
    ASSERT_TRUE(moved.has_value());
    EXPECT_EQ(moved->bytes, oldKey);
    EXPECT_TRUE(moved->replacesPreference);
    EXPECT_EQ(secrets.load(secretService, secretAccount), oldKey);
}

TEST(RemoteSecretTest, TheStoredKeyWinsAndThePreferencesAreNotEvenRead)
{
    MemorySecretStore secrets;
    secrets.save(secretService, secretAccount, otherKey);
    bool isRead = false;
    const auto loaded = loadOrCreateSecret(secrets, [&] {
        isRead = true;
        return holding(oldKey)();
    });
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(loaded->bytes, otherKey);
    EXPECT_FALSE(loaded->replacesPreference);
    EXPECT_FALSE(isRead);
}

TEST(RemoteSecretTest, AStoredKeyOfAnotherLengthIsOverwrittenByThatOfThePreferences)
{
    for (const std::size_t length : { 0U, 31U, 33U }) {
        MemorySecretStore secrets;
        secrets.save(secretService, secretAccount, std::string(length, 'x'));
        const auto moved = loadOrCreateSecret(secrets, holding(oldKey));
        ASSERT_TRUE(moved.has_value());
        EXPECT_EQ(moved->bytes, oldKey);
        EXPECT_EQ(secrets.load(secretService, secretAccount), oldKey);
    }
}

TEST(RemoteSecretTest, AStoredKeyOfAnotherLengthIsOverwrittenByANewOne)
{
    MemorySecretStore secrets;
    secrets.save(secretService, secretAccount, "short");
    const auto made = loadOrCreateSecret(secrets, nothing);
    ASSERT_TRUE(made.has_value());
    EXPECT_EQ(made->bytes.size(), RemoteCrypto::keyByteCount);
    EXPECT_EQ(secrets.load(secretService, secretAccount), made->bytes);
}

TEST(RemoteSecretTest, APreferenceOfAnotherLengthIsLeftWhereItIs)
{
    for (const std::size_t length : { 0U, 31U, 33U }) {
        MemorySecretStore secrets;
        const auto made = loadOrCreateSecret(secrets, holding(std::string(length, 'x')));
        ASSERT_TRUE(made.has_value());
        EXPECT_EQ(made->bytes.size(), RemoteCrypto::keyByteCount);
        EXPECT_NE(made->bytes.front(), 'x');
        EXPECT_FALSE(made->replacesPreference);
    }
}

TEST(RemoteSecretTest, APreferenceThatCannotBeReadIsPassedOver)
{
    MemorySecretStore secrets;
    const auto made
        = loadOrCreateSecret(secrets, [] { return Result<std::optional<std::string>, FileError>(Failure{ FileError{ "unreadable" } }); });
    ASSERT_TRUE(made.has_value());
    EXPECT_FALSE(made->replacesPreference);
}

TEST(RemoteSecretTest, RotatingStoresAnotherKeyAndTheOldPreferenceGoes)
{
    MemorySecretStore secrets;
    const auto first = loadOrCreateSecret(secrets, nothing);
    const auto rotated = rotateSecret(secrets);
    ASSERT_TRUE(rotated.has_value());
    EXPECT_NE(rotated->bytes, first->bytes);
    EXPECT_EQ(rotated->bytes.size(), RemoteCrypto::keyByteCount);
    EXPECT_TRUE(rotated->replacesPreference);
    EXPECT_EQ(secrets.load(secretService, secretAccount), rotated->bytes);
}

TEST(RemoteSecretTest, AStoreThatTakesNothingLeavesTheKeyOfThisRun)
{
    LockedSecretStore secrets;
    const auto first = loadOrCreateSecret(secrets, nothing);
    const auto second = loadOrCreateSecret(secrets, nothing);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->bytes, second->bytes);
}

TEST(RemoteSecretTest, AKeyThatIsReplacedDoesNotStayBehindInAStoreThatTakesNoOther)
{
    LockedSecretStore secrets;
    static_cast<void>(loadOrCreateSecret(secrets, nothing));
    EXPECT_EQ(secrets.removeCount, 0);
    EXPECT_TRUE(rotateSecret(secrets).has_value());
    EXPECT_EQ(secrets.removeCount, 1);
    MemorySecretStore others;
    EXPECT_TRUE(rotateSecret(others).has_value());
    EXPECT_TRUE(others.find(secretService, secretAccount).has_value());
}

TEST(RemoteSecretTest, AStoreThatIsGivenUpAtTheEndOfTheProgramGetsNoNewKey)
{
    MemorySecretStore secrets;
    secrets.save(secretService, secretAccount, oldKey);
    std::optional<Secret> loaded;
    bool isMade = false;
    // Found to be absent only because the program ends, as where the service has not answered yet.
    secrets.onLoad = [&] {
        while (!isBackgroundWorkEnding()) {
            std::this_thread::yield();
        }
        secrets.remove(secretService, secretAccount);
    };
    secrets.onSave = [&] { isMade = true; };
    runInBackground([&] { loaded = loadOrCreateSecret(secrets, nothing); });
    endBackgroundWork();
    EXPECT_FALSE(loaded.has_value());
    EXPECT_FALSE(isMade);
}

struct AddressRow {
    const char* rule;
    std::vector<InterfaceAddress> addresses;
    std::string suggested;
};

class SuggestedAddressTest : public ::testing::TestWithParam<AddressRow>
{
};

TEST_P(SuggestedAddressTest, FollowsTheOrderOfPreference)
{
    EXPECT_EQ(suggestedAddress(GetParam().addresses), GetParam().suggested) << GetParam().rule;
}

const InterfaceAddress loopback{ "lo", "127.0.0.1" };
const InterfaceAddress bridge{ "docker0", "172.17.0.1" };
const InterfaceAddress lan{ "en0", "192.168.1.20" };
const InterfaceAddress tailscale{ "utun4", "100.101.102.103" };

INSTANTIATE_TEST_SUITE_P(Rules, SuggestedAddressTest,
    ::testing::Values(AddressRow{ "nothing", {}, "127.0.0.1" }, AddressRow{ "only the loopback", { loopback }, "127.0.0.1" },
        AddressRow{ "only the loopback of a Mac", { { "lo0", "127.0.0.1" } }, "127.0.0.1" },
        AddressRow{ "100. beats en0 after it", { lan, tailscale }, "100.101.102.103" },
        AddressRow{ "100. beats en0 before it", { tailscale, lan }, "100.101.102.103" },
        AddressRow{ "any address beginning with 100.", { lan, { "eth0", "100.1.2.3" } }, "100.1.2.3" },
        AddressRow{ "the first of those", { { "a", "100.1.1.1" }, { "b", "100.2.2.2" } }, "100.1.1.1" },
        AddressRow{ "not 10.0 and not 100 without a dot", { { "x0", "10.0.0.1" }, { "x1", "1.100.0.1" } }, "10.0.0.1" },
        AddressRow{ "not a loopback of that address", { { "lo", "100.1.2.3" } }, "127.0.0.1" },
        AddressRow{ "en0 beats what comes first", { loopback, bridge, { "eth0", "10.0.0.9" }, lan }, "192.168.1.20" },
        AddressRow{ "the first of en1 and en2", { loopback, { "en1", "10.0.0.1" }, { "en2", "10.0.0.2" } }, "10.0.0.1" },
        AddressRow{ "a bridge gives way to Ethernet", { bridge, { "enp3s0", "10.0.0.3" } }, "10.0.0.3" },
        AddressRow{ "a bridge gives way to older Ethernet", { bridge, { "eth1", "10.0.0.4" } }, "10.0.0.4" },
        AddressRow{ "a bridge gives way to wireless", { bridge, { "wlp2s0", "10.0.0.5" } }, "10.0.0.5" },
        AddressRow{ "a bridge rather than nothing", { loopback, bridge, { "br-1", "172.18.0.1" } }, "172.17.0.1" },
        AddressRow{ "a name that only begins like the loopback's", { { "lowpan0", "10.0.0.6" } }, "10.0.0.6" }));

TEST(AddressOfThisMachineTest, IsSuggestedByTheSameRules)
{
    EXPECT_EQ(suggestedAddress(), suggestedAddress(interfaceAddresses()));
    EXPECT_FALSE(suggestedAddress().empty());
}

TEST(PairingLinkTest, NamesHostPortKeyAndComputerInThisOrder)
{
    EXPECT_EQ(pairingURL("192.168.1.20", 43765, std::string(32, '\xfb'), "Workshop"),
        "tessarin://pair?host=192.168.1.20&port=43765&key=-_v7-_v7-_v7-_v7-_v7-_v7-_v7-_v7-_v7-_v7-_s&name=Workshop");
}

TEST(PairingLinkTest, EncodesWhatAQueryCannotHoldOrItsReadersTakeForSomethingElse)
{
    const auto link = pairingURL("a b&c", 1, "", "My Mac + 50% #1 = Büro; a\"b<c>\\^`{|}");
    EXPECT_EQ(link,
        "tessarin://"
        "pair?host=a%20b%26c&port=1&key=&name=My%20Mac%20%2B%2050%25%20%231%20%3D%20B%C3%BCro%3B%20a%22b%3Cc%3E%5C%5E%60%7B%7C%7D");
}

TEST(PairingLinkTest, KeepsWhatAQueryMayHold)
{
    EXPECT_EQ(pairingURL("fe80::1", 1, "", "a-b._~!$'()*,/:?@"), "tessarin://pair?host=fe80::1&port=1&key=&name=a-b._~!$'()*,/:?@");
}

TEST(PairingLinkTest, TextThatIsNoneMakesNoLink)
{
    EXPECT_EQ(pairingURL("\xff", 1, oldKey, "name"), std::nullopt);
    EXPECT_EQ(pairingURL("host", 1, oldKey, "\xc3"), std::nullopt);
}

TEST(PairingLinkTest, TheKeyHas43Characters)
{
    const std::string link = pairingURL("h", 1, oldKey, "n").value_or("");
    const std::size_t begin = link.find("key=") + 4;
    EXPECT_EQ(link.find('&', begin) - begin, 43U);
}

} // namespace tessarin

#include "../Platform/TemporaryFolder.h"
#include "RemoteServerFixture.h"

#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace tessarin
{

namespace
{

// Everything at once, for the thread sanitizer: devices that come, speak, read and go, each on a thread of its own, which also sends
// snapshots, messages and files, and the key that changes under all of them.
class RemoteHostRotationTest : public RemoteServerFixture
{
protected:
    static constexpr int deviceThreads = 6;
    static constexpr int rotations = 40;

    [[nodiscard]] static std::string keyOf(int number)
    {
        return std::string(RemoteCrypto::keyByteCount, static_cast<char>('a' + number % 20));
    }

    // Whether everything that came and opened made sense.
    void runDevice(unsigned seed, const RemoteMedia& media)
    {
        std::mt19937 random(seed);
        while (!isOver) {
            const RemoteDevice device(port, keyOf(currentKey));
            for (auto step = random() % 20; device.client.isConnected() && step > 0 && !isOver; --step) {
                if (!device.send(messageOf("hello"))) {
                    break;
                }
                // As many as there are answers, or the server would have nothing but work of ours.
                switch (random() % 3) {
                case 0:
                    server->update(snapshotNamed("state", 100'000));
                    break;
                case 1:
                    server->send(RemoteEnvelope::makeError("No."));
                    break;
                default:
                    server->sendMedia(media);
                }
                const auto frame = device.receiveFrame();
                const auto plaintext = RemoteCrypto::open(std::string_view(frame.value_or("....")).substr(4), device.key);
                if (!plaintext) {
                    break; // closed, or of another key
                }
                if (decodeRemoteEnvelope(plaintext.value())) {
                    ++understood;
                } else {
                    ++broken;
                }
            }
        }
    }

    std::atomic<int> currentKey = 0;
    std::atomic<bool> isOver = false;
    std::atomic<int> understood = 0;
    std::atomic<int> broken = 0;
    TemporaryFolder folder;
};

} // namespace

TEST_F(RemoteHostRotationTest, DevicesSnapshotsFilesAndANewKeyAtOnce)
{
    const RemoteMedia media{ "ID", "video", folder / "a.mp4", "a.mp4" };
    writeWholeFile(media.path, std::string(1'000'000, 'x'));
    server->update(snapshotNamed("first"));
    server->start(keyOf(0), port);
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < deviceThreads; ++number) {
        threads.emplace_back([this, number, &media] { runDevice(number, media); });
    }
    for (int rotation = 1; rotation <= rotations; ++rotation) {
        const int before = understood;
        EXPECT_TRUE(pumpUntil([&] { return understood > before; }));
        currentKey = rotation;
        if (rotation % 5 == 0) {
            server->stop();
        }
        server->start(keyOf(rotation), port);
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(broken, 0);
    server->start("", port);
    ASSERT_TRUE(pumpUntilEvent("failed: Could not create a valid pairing key.")) << "all that was told of before has come";
    ASSERT_TRUE(startListening(keyOf(rotations)));
    const RemoteDevice last(port, keyOf(rotations));
    ASSERT_TRUE(last.client.isConnected());
    EXPECT_TRUE(delivers(last));
}

} // namespace tessarin

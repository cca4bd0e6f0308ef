#include "Remote/RemoteCoder.h"
#include "RemoteSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <set>

namespace tessarin
{
namespace
{

constexpr std::size_t noLimit = SIZE_MAX;

std::optional<std::string> encoded(RemoteEncoder& encoder, const RemoteEnvelope& envelope, std::size_t byteLimit = noLimit)
{
    const auto bytes = encoder.encode(envelope, byteLimit);
    return bytes ? std::optional(bytes->joined()) : std::nullopt;
}

std::optional<std::string> encoded(const RemoteEnvelope& envelope, std::size_t byteLimit = noLimit)
{
    RemoteEncoder encoder;
    return encoded(encoder, envelope, byteLimit);
}

RemoteEnvelope snapshotOf(std::vector<Shared<RemoteThread>> threads)
{
    RemoteSnapshot snapshot;
    snapshot.workspaces = { { "W", "name", "/path", std::move(threads) } };
    RemoteEnvelope envelope = RemoteEnvelope::makeSnapshot(std::move(snapshot));
    envelope.id = "snapshot";
    return envelope;
}

RemoteThread::Run runOf(std::initializer_list<std::string> ids)
{
    std::vector<RemoteChatEntry> entries;
    for (const std::string& id : ids) {
        entries.push_back({ id, "user", "text of " + id, {}, {}, {}, 1 });
    }
    return entries;
}

// The places in memory that the message's bytes stand at.
std::set<const char*> places(const ByteRope& rope)
{
    std::set<const char*> result;
    for (const ByteRope::Piece& piece : rope.pieces()) {
        result.insert(piece.bytes.data());
    }
    return result;
}

bool standsAmong(const std::set<const char*>& known, const ByteRope& rope, std::string_view text)
{
    return std::any_of(rope.pieces().begin(), rope.pieces().end(), [&](const ByteRope::Piece& piece) {
        return piece.bytes.find(text) != std::string_view::npos && known.contains(piece.bytes.data());
    });
}

TEST(RemoteEncoderTest, WritesEveryFieldToTheLetter)
{
    EXPECT_EQ(encoded(fullEnvelope()), fullEnvelopeText);
}

TEST(RemoteEncoderTest, LeavesOutAbsentFieldsAndWritesEmptyLists)
{
    RemoteEnvelope hello;
    hello.id = "a";
    hello.type = "hello";
    EXPECT_EQ(encoded(hello), R"({"version":1,"id":"a","type":"hello"})");
    RemoteEnvelope snapshot = RemoteEnvelope::makeSnapshot({});
    snapshot.id = "b";
    EXPECT_EQ(encoded(snapshot),
        R"({"version":1,"id":"b","type":"snapshot","snapshot":{"hostName":"","generatedAt":0,"connectionStatus":"","connectionLabel":"",)"
        R"("workspaces":[],"permissionMode":"","permissionModeLabel":"","providerMode":"","providerModeLabel":"","activeProviderLabel":"",)"
        R"("providerUsages":[],"imagineStatus":"","imagineLabel":"","imagineItems":[]}})");
    const auto thread = encoded(snapshotOf({ RemoteThread() }));
    EXPECT_NE(thread->find(R"({"id":"","title":"","createdAt":0,"updatedAt":0,"entries":[]})"), std::string::npos) << *thread;
}

TEST(RemoteEncoderTest, APermissionWithoutAChoiceHasAnEmptyList)
{
    RemoteSnapshot snapshot;
    snapshot.permission.emplace();
    const auto text = encoded(RemoteEnvelope::makeSnapshot(std::move(snapshot)));
    EXPECT_NE(text->find(R"("permission":{"requestID":0,"title":"","detail":"","options":[]})"), std::string::npos) << *text;
}

TEST(RemoteEncoderTest, EachMessageThatIsMadeHasAnIdOfItsOwn)
{
    const RemoteEnvelope one = RemoteEnvelope::makeError("text");
    const RemoteEnvelope other = RemoteEnvelope::makeError("text");
    EXPECT_EQ(one.version, 1);
    EXPECT_EQ(one.type, "error");
    EXPECT_EQ(one.text, "text");
    EXPECT_NE(one.id, other.id);
    ASSERT_TRUE(Uuid::parse(one.id));
    EXPECT_EQ(Uuid::parse(one.id)->text(), one.id) << "in upper case";
    const RemoteEnvelope snapshot = RemoteEnvelope::makeSnapshot(fullSnapshot());
    EXPECT_EQ(snapshot.type, "snapshot");
    EXPECT_EQ(**snapshot.snapshot, fullSnapshot());
    EXPECT_NE(snapshot.id, RemoteEnvelope::makeSnapshot(fullSnapshot()).id);
}

TEST(RemoteEncoderTest, WhereRunsEndMeansNothing)
{
    RemoteThread one;
    one.entries = { runOf({ "1", "2" }), runOf({}), runOf({ "3" }) };
    RemoteThread other;
    other.entries = { runOf({}), runOf({ "1" }), runOf({ "2", "3" }), runOf({}) };
    EXPECT_EQ(one, other);
    EXPECT_EQ(encoded(snapshotOf({ one })), encoded(snapshotOf({ other })));
    other.entries.push_back(runOf({ "4" }));
    EXPECT_NE(one, other);
    EXPECT_NE(other, one);
    other.entries = { runOf({ "1", "2", "4" }) };
    EXPECT_NE(one, other);
}

TEST(RemoteEncoderTest, CopiesWhatTheLastSnapshotSharedAndWritesTheRest)
{
    RemoteThread thread;
    thread.entries = { runOf({ "first", "second" }), runOf({ "third" }) };
    RemoteEnvelope envelope = snapshotOf({ thread });
    RemoteEncoder encoder;
    const auto before = encoder.encode(envelope, noLimit);
    thread.entries.back() = runOf({ "third", "fourth" });
    thread.title = "Changed";
    const auto after = encoder.encode(snapshotOf({ thread }), noLimit);
    EXPECT_TRUE(standsAmong(places(*before), *after, "text of first"));
    EXPECT_FALSE(standsAmong(places(*before), *after, "text of third"));
    EXPECT_EQ(after->joined(), encoded(snapshotOf({ thread })));
}

TEST(RemoteEncoderTest, SharesTheMediaListOfTheLastSnapshot)
{
    RemoteSnapshot snapshot = fullSnapshot();
    RemoteEncoder encoder;
    const auto before = encoder.encode(RemoteEnvelope::makeSnapshot(snapshot), noLimit);
    snapshot.generatedAt += 1;
    const auto after = encoder.encode(RemoteEnvelope::makeSnapshot(snapshot), noLimit);
    EXPECT_TRUE(standsAmong(places(*before), *after, "a.mp4"));
}

TEST(RemoteEncoderTest, AMessageBetweenTwoSnapshotsLosesNothing)
{
    RemoteThread thread;
    thread.entries = { runOf({ "first" }) };
    RemoteEncoder encoder;
    const auto before = encoder.encode(snapshotOf({ thread }), noLimit);
    ASSERT_TRUE(encoder.encode(RemoteEnvelope::makeError("text"), noLimit));
    const auto after = encoder.encode(snapshotOf({ thread }), noLimit);
    EXPECT_TRUE(standsAmong(places(*before), *after, "text of first"));
}

TEST(RemoteEncoderTest, DropsWhatTheLastSnapshotNoLongerHad)
{
    RemoteThread thread;
    thread.entries = { runOf({ "first" }) };
    const std::weak_ptr<const std::vector<RemoteChatEntry>> run = thread.entries.front().identity();
    RemoteEncoder encoder;
    std::weak_ptr<const std::string> bytes;
    {
        const auto before = encoder.encode(snapshotOf({ thread }), noLimit);
        for (const ByteRope::Piece& piece : before->pieces()) {
            if (piece.bytes.find("text of first") != std::string_view::npos) {
                bytes = piece.owner;
            }
        }
    }
    thread.entries = { runOf({ "other" }) };
    EXPECT_FALSE(bytes.expired());
    ASSERT_TRUE(encoder.encode(snapshotOf({ thread }), noLimit));
    EXPECT_TRUE(bytes.expired());
    EXPECT_TRUE(run.expired());
}

TEST(RemoteEncoderTest, TheSameRunTwiceIsWrittenTwice)
{
    RemoteThread thread;
    thread.entries = { runOf({ "first" }), runOf({ "second" }) };
    thread.entries.push_back(thread.entries.front());
    RemoteThread spelledOut;
    spelledOut.entries = { runOf({ "first", "second", "first" }) };
    EXPECT_EQ(encoded(snapshotOf({ thread, thread })), encoded(snapshotOf({ spelledOut, spelledOut })));
}

TEST(RemoteEncoderTest, NumbersThatAreNotFiniteHaveNoMessage)
{
    for (const double number :
        { std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN() }) {
        RemoteSnapshot snapshot = fullSnapshot();
        snapshot.generatedAt = number;
        EXPECT_FALSE(encoded(RemoteEnvelope::makeSnapshot(std::move(snapshot))));
        RemoteThread thread;
        thread.entries.emplace_back(std::vector<RemoteChatEntry>{ { "1", "user", "", {}, {}, {}, number } });
        EXPECT_FALSE(encoded(snapshotOf({ std::move(thread) })));
    }
}

TEST(RemoteEncoderTest, AMessageMayBeAsLongAsTheLimitAndNoLonger)
{
    EXPECT_EQ(encoded(fullEnvelope(), fullEnvelopeText.size()), fullEnvelopeText);
    for (std::size_t limit = 0; limit < fullEnvelopeText.size(); ++limit) {
        ASSERT_FALSE(encoded(fullEnvelope(), limit)) << limit;
    }
}

TEST(RemoteEncoderTest, TheLimitHoldsForWhatIsCopiedToo)
{
    RemoteEncoder encoder;
    ASSERT_TRUE(encoder.encode(fullEnvelope(), noLimit));
    for (std::size_t limit = 0; limit < fullEnvelopeText.size(); ++limit) {
        ASSERT_FALSE(encoder.encode(fullEnvelope(), limit)) << limit;
    }
    EXPECT_EQ(encoded(encoder, fullEnvelope(), fullEnvelopeText.size()), fullEnvelopeText);
}

TEST(RemoteEncoderTest, WhatIsTooLongForTheLimitIsNotEvenWritten)
{
    // A thousand tasks that share one text of a megabyte make a gigabyte; giving up at once takes no time and no memory.
    RemoteThread thread;
    thread.entries.emplace_back(std::vector<RemoteChatEntry>{ { "1", "user", std::string(1 << 20, 'x'), {}, {}, {}, 1 } });
    const Shared<RemoteThread> shared(thread);
    const RemoteEnvelope envelope = snapshotOf(std::vector<Shared<RemoteThread>>(1000, shared));
    RemoteEncoder encoder;
    EXPECT_FALSE(encoder.encode(envelope, 16 * 1024 * 1024));
    // And after that, it writes as before.
    EXPECT_EQ(encoded(encoder, fullEnvelope()), fullEnvelopeText);
}

TEST(RemoteEncoderTest, BytesThatAreNoUtf8ReadBackAsReplacementCharacters)
{
    const auto text = encoded(RemoteEnvelope::makeError("a\xFF"));
    ASSERT_TRUE(text);
    EXPECT_EQ(decodeRemoteEnvelope(*text)->text, "a\uFFFD");
}

// Snapshots of any shape that share some of their parts.
class RandomSnapshots
{
public:
    explicit RandomSnapshots(std::uint64_t seed) : m_random(seed) { }

    RemoteEnvelope next()
    {
        if (m_threads.empty() || below(3) == 0) {
            m_threads.insert(m_threads.begin() + static_cast<std::ptrdiff_t>(below(m_threads.size() + 1)), RemoteThread());
        }
        RemoteThread& thread = m_threads[below(m_threads.size())];
        thread.title = text();
        if (thread.entries.empty() || below(2) == 0) {
            thread.entries.push_back(run());
        } else if (below(4) == 0) {
            thread.entries.erase(thread.entries.begin());
        } else {
            thread.entries[below(thread.entries.size())] = run();
        }
        if (below(10) == 0) {
            m_threads.erase(m_threads.begin());
        }
        RemoteEnvelope envelope = snapshotOf(std::vector<Shared<RemoteThread>>(m_threads.begin(), m_threads.end()));
        envelope.text = text();
        return envelope;
    }

private:
    std::uint64_t below(std::uint64_t limit) { return m_random() % limit; }
    std::string text()
    {
        static const char* const parts[] = { "word ", "\n", "\"", "\\", "/", "é", "日本", "😀", "\t", "],", "{\"id\":", "\x7F", "\x02" };
        std::string text;
        for (std::uint64_t count = below(6); count > 0; --count) {
            text += parts[below(std::size(parts))];
        }
        return text;
    }
    RemoteThread::Run run()
    {
        std::vector<RemoteChatEntry> entries(below(4));
        for (RemoteChatEntry& entry : entries) {
            entry = { text(), text(), text(), {}, {}, {}, static_cast<double>(static_cast<std::int64_t>(m_random())) / 1e9 };
            if (below(2) == 0) {
                entry.title = text();
            }
        }
        return entries;
    }

    std::mt19937_64 m_random;
    std::vector<RemoteThread> m_threads;
};

TEST(RemoteEncoderTest, WhatItWritesReadsBackAsTheSame)
{
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        RandomSnapshots snapshots(seed);
        RemoteEncoder encoder;
        for (int round = 0; round < 40; ++round) {
            const RemoteEnvelope envelope = snapshots.next();
            const auto text = encoded(encoder, envelope);
            ASSERT_TRUE(text);
            ASSERT_EQ(text, encoded(envelope)) << "seed " << seed << " round " << round;
            ASSERT_EQ(decodeRemoteEnvelope(*text), envelope) << "seed " << seed << " round " << round;
        }
    }
}

} // namespace
} // namespace tessarin

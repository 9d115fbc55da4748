// A recording whose file writes fail: a short write, a write of nothing, or
// a disk that fills up, at every write of the file in turn. The store or
// close that meets the failure says so, nothing crashes, no writer thread
// is left, and the bytes that reached the file before stay as they were.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <vector>

#include "container/buffered_file.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "support/file_bytes.h"
#include "support/library_state.h"
#include "support/recording.h"

namespace mp4lib::test {
namespace {

// Sizes of the samples stored, bytes: small copies, hand-overs to the
// writer thread and blocks that go straight to the file.
const std::uint32_t kSampleSizes[] = {5000, 70000, 20000, 40000, 3, 65536, 30000, 12000, 90000, 45000,
                                      7000, 64000, 1000,  33000, 80000};

// Bytes 96..99 are the "mdat" size, patched when the file is closed: a cut
// recording patches another value there.
constexpr std::size_t kMdatSizeField = 24 + 72;

enum class Fault { kNone, kShortWrite, kNothingWritten, kDiskFull };

// The file system as the test sees it: every write of the recording goes
// through here, in the caller's thread or the writer's.
struct Disk {
  Fault fault = Fault::kNone;
  int failingCall = 0;               // kShortWrite / kNothingWritten: this call (1-based) fails
  std::uint64_t capacity = 0;        // kDiskFull: bytes the disk holds
  std::atomic<int> calls{0};
  std::atomic<std::uint64_t> written{0};
  std::atomic<bool> failed{false};   // a write has failed
  std::atomic<long> failedAt{-1};    // file offset of the first failed write
};

Disk disk;

std::size_t faultyWrite(const void* data, std::size_t length, std::FILE* file) {
  const int call = ++disk.calls;
  std::size_t allowed = length;
  if ((disk.fault == Fault::kShortWrite || disk.fault == Fault::kNothingWritten) && call == disk.failingCall) {
    allowed = disk.fault == Fault::kShortWrite ? length / 2 : 0;
  }
  if (disk.fault == Fault::kDiskFull) {
    const std::uint64_t room = disk.capacity > disk.written ? disk.capacity - disk.written : 0;
    if (room < allowed) allowed = static_cast<std::size_t>(room);
  }
  long at = -1;
  if (allowed < length) at = std::ftell(file);
  const std::size_t done = allowed > 0 ? std::fwrite(data, 1, allowed, file) : 0;
  disk.written += done;
  if (done < length && !disk.failed.exchange(true)) disk.failedAt.store(at);
  return done;
}

struct Outcome {
  Bytes file;
  std::vector<int> storeResults;
  std::vector<bool> failureKnownBefore;  // per store: the recorder knew of a failed write before it began
  std::int32_t closed = -1;
  std::int32_t failureCode = -1;
};

class WriteFailures : public RecordingTest {
 protected:
  void TearDown() override {
    platform::setFileWriteForTesting(nullptr);
    RecordingTest::TearDown();
  }

  Outcome record(Fault fault, int failingCall, std::uint64_t capacity) {
    disk.fault = fault;
    disk.failingCall = failingCall;
    disk.capacity = capacity;
    disk.calls = 0;
    disk.written = 0;
    disk.failed = false;
    disk.failedAt = -1;
    Outcome outcome;
    platform::setFileWriteForTesting(faultyWrite);
    if (startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "cut.3gp") == nullptr) return outcome;
    std::vector<std::uint8_t> sample(90000);
    std::uint32_t index = 0;
    for (std::uint32_t size : kSampleSizes) {
      for (std::uint32_t at = 0; at < size; ++at) sample[at] = static_cast<std::uint8_t>(index * 31 + at);
      // What the recorder knows, not what the disk did: the writer thread
      // may still be on its way back from the failed write.
      outcome.failureKnownBefore.push_back(container::bytesLost(test::recorder().file));
      outcome.storeResults.push_back(writeEncodeData(sample.data(), size, 0, 0));
      ++index;
    }
    outcome.closed = closeEncodeFile();
    outcome.failureCode = mp4libLastFailure(nullptr, 0);
    finalizeEncoder();
    platform::setFileWriteForTesting(nullptr);
    outcome.file = readFileBytes(pathOf("cut.3gp"));
    return outcome;
  }

  // What every faulty recording must show, against the one that went well.
  void expectSafe(const Outcome& cut, const Outcome& whole, const char* what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(cut.closed, 1);  // closeEncodeFile closes whatever happened...
    EXPECT_EQ(cut.failureCode, MP4LIB_FAILURE_WRITE);  // ...and notes that bytes were lost
    for (std::size_t i = 0; i < cut.storeResults.size(); ++i) {
      // A store that begins once a write is known to have failed refuses.
      if (cut.failureKnownBefore[i]) {
        EXPECT_EQ(cut.storeResults[i], 0) << "store " << i;
      }
    }
    EXPECT_EQ(test::recorder().file.slotA.busy.load(), 0);
    EXPECT_EQ(test::recorder().file.slotB.busy.load(), 0);
    const long failedAt = disk.failedAt.load();
    ASSERT_GE(failedAt, 0);
    const std::size_t intact = std::min<std::size_t>(static_cast<std::size_t>(failedAt), cut.file.size());
    ASSERT_LE(intact, whole.file.size());
    for (std::size_t at = 0; at < intact; ++at) {
      if (at >= kMdatSizeField && at < kMdatSizeField + 4) continue;
      if (cut.file[at] != whole.file[at]) {
        ADD_FAILURE() << "byte " << at << " of " << intact << " changed";
        break;
      }
    }
  }
};

TEST_F(WriteFailures, AFailedWriteAtEveryWriteOfTheFile) {
  const Outcome whole = record(Fault::kNone, 0, 0);
  ASSERT_EQ(whole.failureCode, MP4LIB_FAILURE_NONE);
  for (int result : whole.storeResults) ASSERT_EQ(result, 1);
  const int writes = disk.calls.load();
  ASSERT_GE(writes, 10);
  for (int call = 1; call <= writes; ++call) {
    expectSafe(record(Fault::kShortWrite, call, 0), whole, "short write");
    expectSafe(record(Fault::kNothingWritten, call, 0), whole, "nothing written");
  }
}

TEST_F(WriteFailures, ADiskThatFillsUpAtEveryFlush) {
  const Outcome whole = record(Fault::kNone, 0, 0);
  ASSERT_EQ(whole.failureCode, MP4LIB_FAILURE_NONE);
  const std::uint64_t total = whole.file.size();
  // A disk that ends at every 64 KiB step, and one byte short of the file.
  for (std::uint64_t capacity = 0; capacity < total; capacity += 65536) {
    expectSafe(record(Fault::kDiskFull, 0, capacity), whole, "disk full");
  }
  expectSafe(record(Fault::kDiskFull, 0, total - 1), whole, "one byte short");
}

}  // namespace
}  // namespace mp4lib::test

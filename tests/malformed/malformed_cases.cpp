// How the expected outcomes follow from the bytes. The reader:
// - parses boxes in file order; a box's size of 0 makes it run to the end of
//   its parent (the end of the file at the top level), a size of 1 is
//   followed by a 64-bit size; reads past the end of the file give zeros;
// - stops right after "moov" when "mdat" came before it;
// - gives a track as many samples as its "stsz" lists ("stsc" and "stco"
//   only place them), or, with a constant sample size, one entry per chunk;
// - refuses a file whose first track has no samples, an empty "mdat", a
//   file with neither "moov" nor "mdat", a file it cannot time (a time
//   scale of 0 leaves durations a division by zero), and a sample-size or
//   chunk-offset table it cannot hold (a count larger than its box can
//   carry); other malformed tables are read through, never past their box;
// - enables video and audio for the tracks that hold samples.
// Each group below says how that applies to its files.
#include "malformed/malformed_cases.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>

#include "mp4lib_plugin.h"

namespace mp4lib::malformed {

namespace {

constexpr std::uint32_t kMax31 = 0x7FFFFFFFu;
constexpr std::uint32_t kMax32 = 0xFFFFFFFFu;

const std::string kVideoTrak = "moov/trak";
const std::string kAudioTrak = "moov/trak#1";
const std::string kVideoStbl = "moov/trak/mdia/minf/stbl";
const std::string kAudioStbl = "moov/trak#1/mdia/minf/stbl";

// ---- Outcomes --------------------------------------------------------------------

Expected refused() { return Expected{}; }

Expected opensWith(int videoFrames, int audioFrames) {
  Expected expected;
  expected.opens = true;
  expected.videoFrames = videoFrames;
  expected.audioFrames = audioFrames;
  return expected;
}

Check check(Check::Kind kind, std::int64_t a, std::int64_t b = 0, Bytes bytes = {}) {
  return Check{kind, a, b, std::move(bytes)};
}

Expected& with(Expected& expected, Check added) {
  expected.checks.push_back(std::move(added));
  return expected;
}

// Everything the valid movie promises: samples, durations (movie 300 ms
// from "mvhd"; video 300 ms from its "tkhd"; one AMR sample 160 / 8000 s =
// 20 ms), the 16 x 12 picture and the time of each video entry (100 ms
// apart: entry 2 at 200 ms, 250 ms shows entry 2).
Expected asValid() {
  Expected expected = opensWith(kVideoSamples, kAudioSamples);
  for (int i = 0; i < kVideoSamples; ++i) with(expected, check(Check::kVideoShows, i, 0, videoSample(i)));
  for (int i = 0; i < kAudioSamples; ++i) with(expected, check(Check::kAudioHolds, i, 0, audioSample(i)));
  with(expected, check(Check::kMovieMs, 300));
  with(expected, check(Check::kVideoMs, 300));
  with(expected, check(Check::kAudioSampleMs, 20));
  with(expected, check(Check::kDisplaySize, kWidth, kHeight));
  with(expected, check(Check::kVideoTimeOf, 2, 200));
  with(expected, check(Check::kVideoEntryAt, 250, 2));
  return expected;
}

// ---- Collecting cases ------------------------------------------------------------

std::string identifier(const std::string& text) {
  std::string name;
  for (char c : text) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
}

class Cases {
 public:
  void add(const std::string& name, Bytes bytes, Expected expected, const std::string& finding = "") {
    all.push_back(MalformedCase{identifier(name), std::move(bytes), std::move(expected), finding});
  }
  void add(const std::string& name, const Movie& movie, Expected expected) {
    add(name, writeMovie(movie).bytes, std::move(expected));
  }
  std::vector<MalformedCase> all;
};

// The valid movie with one 32-bit field of box `path` set to `value`, in
// place: `field` counts bytes from the start of the box's payload.
Bytes patchedValid(const std::string& path, std::size_t field, std::uint32_t value) {
  WrittenMovie valid = writeMovie(validMovie());
  patch32(valid.bytes, valid.place(path).payloadStart + field, value);
  return valid.bytes;
}

std::string hex(std::uint32_t value) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) text += digits[(value >> shift) & 0xF];
  return text;
}

std::uint32_t firstSampleOffset() {
  return static_cast<std::uint32_t>(writeMovie(validMovie()).place("mdat").payloadStart);
}

// ---- Truncation at every box boundary ----------------------------------------------
// A file cut at a box's start, payload or end. A track gets its samples once
// its whole "stsz" is in the file, so: cut before the end of the video
// "stsz" -> the first track has no samples -> refused (this includes cuts in
// front of "moov": no track at all). Cut later -> opens with 3 video frames,
// and with 4 audio frames once the audio "stsz" is whole too (else the audio
// track has no samples and audio stays disabled).

void addTruncations(Cases& cases) {
  const WrittenMovie valid = writeMovie(validMovie());
  const std::size_t videoSizesEnd = valid.place(kVideoStbl + "/stsz").end;
  const std::size_t audioSizesEnd = valid.place(kAudioStbl + "/stsz").end;
  std::set<std::size_t> cuts = {0};
  for (const BoxPlace& place : valid.places) cuts.insert({place.start, place.payloadStart, place.end});
  for (std::size_t cut : cuts) {
    if (cut >= valid.bytes.size()) continue;
    std::string where;
    for (const BoxPlace& place : valid.places) {
      if (where.empty() && place.start == cut) where = "start of " + place.path;
      if (where.empty() && place.payloadStart == cut) where = "payload of " + place.path;
      if (where.empty() && place.end == cut) where = "end of " + place.path;
    }
    const Bytes cutBytes(valid.bytes.begin(), valid.bytes.begin() + static_cast<std::ptrdiff_t>(cut));
    Expected expected = refused();
    if (cut >= videoSizesEnd) expected = opensWith(kVideoSamples, cut >= audioSizesEnd ? kAudioSamples : kDisabled);
    cases.add("Cut at " + std::to_string(cut) + " " + where, cutBytes, expected);
  }
}

// ---- Box sizes of 0, 1, 2^31-1 and 2^32-1 -------------------------------------------

Movie validWithSize(const std::string& path, SizeForm form, std::uint32_t given = 0) {
  Movie movie = validMovie();
  movie.box(path).sizeForm = form;
  movie.box(path).givenSize = given;
  return movie;
}

// Boxes that end where their parent ends, up to the end of the file ("moov",
// the audio "trak" and everything last inside it down to its "stco"): size 0
// runs to that same end, and a size past the end of the file only makes the
// box's reading stop at the end of the file. Either way nothing is lost, so
// the movie is the valid one. The same holds for the 16-byte header with a
// 64-bit size (size field 1), which is legal anywhere.
void addSizesOfLastBoxes(Cases& cases) {
  const std::string lastBoxes[] = {"moov",     kAudioTrak,          kAudioTrak + "/mdia", kAudioTrak + "/mdia/minf",
                                   kAudioStbl, kAudioStbl + "/stco"};
  for (const std::string& path : lastBoxes) {
    cases.add(path + " size 0", writeMovie(validWithSize(path, SizeForm::kZero)).bytes, asValid());
    cases.add(path + " size 7FFFFFFF", validWithSize(path, SizeForm::kGiven, kMax31), asValid());
    cases.add(path + " size FFFFFFFF", validWithSize(path, SizeForm::kGiven, kMax32), asValid());
    cases.add(path + " 64-bit size", validWithSize(path, SizeForm::kLarge), asValid());
  }
  for (const std::string& path :
       {kVideoTrak, kVideoStbl, kVideoStbl + "/stsz", kVideoStbl + "/stco", std::string("mdat")}) {
    cases.add(path + " 64-bit size", validWithSize(path, SizeForm::kLarge), asValid());
  }
}

void addSizesOfInnerBoxes(Cases& cases) {
  // The video "trak" with size 0 runs to the end of "moov" and so takes the
  // audio "trak" in as a child; a "trak" makes a track wherever it is.
  cases.add("video trak size 0", validWithSize(kVideoTrak, SizeForm::kZero), asValid());
  // The video "stco" with size 0 takes in the "stss" after it, which is
  // skipped anyway.
  cases.add("video stco size 0", validWithSize(kVideoStbl + "/stco", SizeForm::kZero), asValid());
  // The video "stsz" with size 0 takes in "stco" and "stss": its sizes are
  // read (3 frames), whatever becomes of the offsets.
  cases.add("video stsz size 0", validWithSize(kVideoStbl + "/stsz", SizeForm::kZero),
            opensWith(kVideoSamples, kAudioSamples));
  // "moov" with size field 1 and no 64-bit size: the 64-bit size is read
  // from the "mvhd" header (huge), and the children from inside "mvhd",
  // whose first eight payload bytes are zeros: a box of size 0 (to the end)
  // of type 0, skipped. No "trak" is ever read: no tracks, refused.
  cases.add("moov size 1 without 64-bit size", validWithSize("moov", SizeForm::kGiven, 1), refused());
  // "mdat" comes before "moov"; with size 0 it runs to the end of the file,
  // with size 1 it takes its 64-bit size from the first video sample
  // ('K' 00 10 00 0C ..., about 2^62), and 2^31-1 and 2^32-1 pass the end of
  // the file: "moov" is never reached. No tracks: refused.
  cases.add("mdat size 0", validWithSize("mdat", SizeForm::kZero), refused());
  cases.add("mdat size 1 without 64-bit size", validWithSize("mdat", SizeForm::kGiven, 1), refused());
  cases.add("mdat size 7FFFFFFF", validWithSize("mdat", SizeForm::kGiven, kMax31), refused());
  cases.add("mdat size FFFFFFFF", validWithSize("mdat", SizeForm::kGiven, kMax32), refused());
}

// ---- Counts of 0, 1, 2^31-1 and 2^32-1 ----------------------------------------------
// A count set in place that the box cannot carry (its box holds 3 or 4
// entries). Sample sizes and chunk offsets the reader cannot hold: refused,
// whichever track. Time runs, sample-to-chunk runs and sample descriptions
// are read through and never past their box, so the sizes and offsets after
// them stand: 3 video and 4 audio frames.
// Counts of 0 and 1 come with boxes that hold exactly that many entries.

void addCountsTooLargeForTheirBox(Cases& cases) {
  struct Field {
    std::string path;
    std::size_t offset;  // from the start of the payload
  };
  const Field fields[] = {
      {kVideoStbl + "/stsz", 8}, {kAudioStbl + "/stsz", 8}, {kVideoStbl + "/stco", 4}, {kAudioStbl + "/stco", 4},
      {kVideoStbl + "/stts", 4}, {kAudioStbl + "/stts", 4}, {kVideoStbl + "/stsc", 4}, {kVideoStbl + "/stsd", 4},
  };
  for (const Field& field : fields) {
    const std::string box = field.path.substr(field.path.size() - 4);
    const bool placesSamples = box == "stsz" || box == "stco";
    for (std::uint32_t count : {1000u, kMax31, kMax32}) {
      cases.add(field.path + " count " + hex(count), patchedValid(field.path, field.offset, count),
                placesSamples ? refused() : opensWith(kVideoSamples, kAudioSamples));
    }
  }
}

Movie validWithBox(const std::string& path, Box box) {
  Movie movie = validMovie();
  movie.box(path) = std::move(box);
  return movie;
}

void addSmallCounts(Cases& cases) {
  const std::uint32_t first = firstSampleOffset();
  const Bytes v0 = videoSample(0);
  // No video sizes: the first track has no samples.
  cases.add("video stsz count 0", validWithBox(kVideoStbl + "/stsz", stszBox(0, 0, {})), refused());
  // One video size: one frame; with 3 chunks but 1 sample the one run is
  // placed for its first chunk only, so entry 0 is the first sample.
  Expected one = opensWith(1, kAudioSamples);
  with(one, check(Check::kVideoShows, 0, 0, v0));
  cases.add("video stsz count 1", validWithBox(kVideoStbl + "/stsz", stszBox(0, 1, {13})), one);
  // No audio sizes: audio holds no samples and stays disabled; video is as
  // it was.
  Expected noAudio = opensWith(kVideoSamples, kDisabled);
  with(noAudio, check(Check::kVideoShows, 2, 0, videoSample(2)));
  cases.add("audio stsz count 0", validWithBox(kAudioStbl + "/stsz", stszBox(0, 0, {})), noAudio);
  Expected oneAudio = opensWith(kVideoSamples, 1);
  with(oneAudio, check(Check::kAudioHolds, 0, 0, audioSample(0)));
  cases.add("audio stsz count 1", validWithBox(kAudioStbl + "/stsz", stszBox(0, 1, {32})), oneAudio);
  // No chunk offsets: the sizes still make 3 frames (placed nowhere).
  cases.add("video stco count 0", validWithBox(kVideoStbl + "/stco", stcoBox({})),
            opensWith(kVideoSamples, kAudioSamples));
  // One chunk for 3 samples: the run is placed for that chunk, entry 0 is
  // the first sample.
  Expected oneChunk = opensWith(kVideoSamples, kAudioSamples);
  with(oneChunk, check(Check::kVideoShows, 0, 0, v0));
  cases.add("video stco count 1", validWithBox(kVideoStbl + "/stco", stcoBox({first})), oneChunk);
  Expected oneAudioChunk = opensWith(kVideoSamples, kAudioSamples);
  with(oneAudioChunk, check(Check::kAudioHolds, 0, 0, audioSample(0)));
  const std::uint32_t firstAudio = first + kVideoSamples * 13;
  cases.add("audio stco count 1", validWithBox(kAudioStbl + "/stco", stcoBox({firstAudio})), oneAudioChunk);
  // No time runs: the counts stand; entry 0 is at 0 ms.
  Expected noRuns = opensWith(kVideoSamples, kAudioSamples);
  with(noRuns, check(Check::kVideoTimeOf, 0, 0));
  cases.add("video stts count 0", validWithBox(kVideoStbl + "/stts", sttsBox({})), noRuns);
  // One run covering 1 sample of 3: a single run still sets 100 ms a frame.
  Expected shortRun = opensWith(kVideoSamples, kAudioSamples);
  with(shortRun, check(Check::kVideoTimeOf, 2, 200));
  cases.add("video stts run of 1 sample", validWithBox(kVideoStbl + "/stts", sttsBox({{1, 100}})), shortRun);
  // No sample-to-chunk runs: the chunk offsets wait for runs that never
  // come, so the tables stay incomplete and the entries keep offset 0 (what
  // their pictures then are is the plug-in's business); the counts stand.
  cases.add("video stsc count 0", writeMovie(validWithBox(kVideoStbl + "/stsc", stscBox({}))).bytes,
            opensWith(kVideoSamples, kAudioSamples));
}

// ---- Sample-to-chunk runs -------------------------------------------------------------

void addChunkRuns(Cases& cases) {
  const std::uint32_t first = firstSampleOffset();
  auto allVideoShown = []() {
    Expected expected = opensWith(kVideoSamples, kAudioSamples);
    for (int i = 0; i < kVideoSamples; ++i) with(expected, check(Check::kVideoShows, i, 0, videoSample(i)));
    return expected;
  };
  // 5 or 0 samples a chunk with 3 chunks for 3 samples: each offset still
  // goes to its own entry, and samples that follow one another in a chunk
  // sit right after each other, as they do here.
  cases.add("video stsc 5 samples a chunk", validWithBox(kVideoStbl + "/stsc", stscBox({{1, 5, 1}})), allVideoShown());
  cases.add("video stsc 0 samples a chunk", validWithBox(kVideoStbl + "/stsc", stscBox({{1, 0, 1}})), allVideoShown());
  // Two chunks (samples 0-1, then 2) in two runs: the first run places both
  // samples of chunk 1, the last run chunk 2: all three placed.
  Movie twoChunks = validWithBox(kVideoStbl + "/stsc", stscBox({{1, 2, 1}, {2, 1, 1}}));
  twoChunks.box(kVideoStbl + "/stco") = stcoBox({first, first + 26});
  cases.add("video two chunks in two runs", twoChunks, allVideoShown());
  // Two chunks in one run of 1 sample a chunk: the last run is placed for
  // its first chunk only (deliberately), so entry 0 is sample 0 and entries
  // 1 and 2 keep offset 0.
  Movie lastRun = validMovie();
  lastRun.box(kVideoStbl + "/stco") = stcoBox({first, first + 26});
  Expected lastRunExpected = opensWith(kVideoSamples, kAudioSamples);
  with(lastRunExpected, check(Check::kVideoShows, 0, 0, videoSample(0)));
  cases.add("video last run spans two chunks", lastRun, lastRunExpected);
  // Chunk offsets before the sample sizes: the reader may refuse this;
  // if it reads it, the sizes make 3 frames.
  Movie offsetsFirst = validMovie();
  Box& stbl = offsetsFirst.box(kVideoStbl);
  std::swap(stbl.children[3], stbl.children[4]);  // stsz <-> stco
  Expected either = opensWith(kVideoSamples, kAudioSamples);
  either.mayRefuse = true;
  cases.add("video stco before stsz", offsetsFirst, either);
}

// ---- Time scales and durations ---------------------------------------------------------

Movie validWithField(const std::string& path, std::size_t field, std::uint32_t value) {
  Movie movie = validMovie();
  patchPayload32(movie.box(path), field, value);
  return movie;
}

void addTimeScales(Cases& cases) {
  // mdhd payload: version and flags, creation, modification, time scale (12),
  // duration (16). mvhd likewise. tkhd: duration at 20. stts first delta at 12.
  const std::string videoMdhd = kVideoTrak + "/mdia/mdhd", audioMdhd = kAudioTrak + "/mdia/mdhd";
  // A time scale of 0 leaves frame and sample durations without a value:
  // refused.
  cases.add("video time scale 0", validWithField(videoMdhd, 12, 0), refused());
  cases.add("audio time scale 0", validWithField(audioMdhd, 12, 0), refused());
  cases.add("movie time scale 0", validWithField("moov/mvhd", 12, 0), refused());
  Movie allZero = validWithField("moov/mvhd", 12, 0);
  patchPayload32(allZero.box(videoMdhd), 12, 0);
  patchPayload32(allZero.box(audioMdhd), 12, 0);
  cases.add("every time scale 0", allZero, refused());
  // Time scales below 1000 time nothing finer than their own units: at 10
  // units a second the video entries are 100 units = 10 s apart.
  Movie coarse = validWithField(videoMdhd, 12, 10);
  Expected coarseExpected = opensWith(kVideoSamples, kAudioSamples);
  with(coarseExpected, check(Check::kVideoTimeOf, 2, 20000));
  cases.add("video time scale 10", coarse, coarseExpected);
  // A frame delta of 0: every frame at 0 ms.
  Expected delta0 = opensWith(kVideoSamples, kAudioSamples);
  with(delta0, check(Check::kVideoTimeOf, 2, 0));
  cases.add("video delta 0", validWithField(kVideoStbl + "/stts", 12, 0), delta0);
  // A delta of FFFFFFFF is negative and becomes 0 (deliberately).
  Expected negative = opensWith(kVideoSamples, kAudioSamples);
  with(negative, check(Check::kVideoTimeOf, 2, 0));
  cases.add("video delta FFFFFFFF", validWithField(kVideoStbl + "/stts", 12, kMax32), negative);
  // Audio delta 2^31-1 at 8000 units a second: 2147483647 x 1000 / 8000 =
  // 268435455 ms (64-bit integer division).
  Expected longAudio = opensWith(kVideoSamples, kAudioSamples);
  with(longAudio, check(Check::kAudioSampleMs, 268435455));
  cases.add("audio delta 7FFFFFFF", validWithField(kAudioStbl + "/stts", 12, kMax31), longAudio);
  // Video "tkhd" duration 0: getVideoDuration 0 x 1000 / 1000 = 0.
  Expected noDuration = opensWith(kVideoSamples, kAudioSamples);
  with(noDuration, check(Check::kVideoMs, 0));
  cases.add("video tkhd duration 0", validWithField(kVideoTrak + "/tkhd", 20, 0), noDuration);
  cases.add("movie duration FFFFFFFF", validWithField("moov/mvhd", 16, kMax32),
            opensWith(kVideoSamples, kAudioSamples));
  // Two runs, 1 x 100 then 2 x 50: entry 2 is at 100 + 50 = 150 ms, entry
  // 1 at 100; 120 ms lies in the second run, 20 units into it: entry 1.
  Expected twoRuns = opensWith(kVideoSamples, kAudioSamples);
  with(twoRuns, check(Check::kVideoEntryAt, 120, 1));
  with(twoRuns, check(Check::kVideoTimeOf, 2, 150));
  with(twoRuns, check(Check::kVideoTimeOf, 1, 100));
  cases.add("video two time runs", validWithBox(kVideoStbl + "/stts", sttsBox({{1, 100}, {2, 50}})), twoRuns);
}

// ---- Chunks that overlap or lie outside the file -----------------------------------------

void addChunkPlaces(Cases& cases) {
  const WrittenMovie valid = writeMovie(validMovie());
  const std::uint32_t first = firstSampleOffset();
  const auto size = static_cast<std::uint32_t>(valid.bytes.size());
  const auto videoAt = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    return validWithBox(kVideoStbl + "/stco", stcoBox({a, b, c}));
  };
  // All three entries on the first sample (same size): each shows sample 0.
  Expected overlapping = opensWith(kVideoSamples, kAudioSamples);
  for (int i = 0; i < kVideoSamples; ++i) with(overlapping, check(Check::kVideoShows, i, 0, videoSample(0)));
  cases.add("video chunks overlap", videoAt(first, first, first), overlapping);
  // Entry 1 inside "moov": entries 0 and 2 are untouched.
  Expected intoMoov = opensWith(kVideoSamples, kAudioSamples);
  with(intoMoov, check(Check::kVideoShows, 0, 0, videoSample(0)));
  with(intoMoov, check(Check::kVideoShows, 2, 0, videoSample(2)));
  cases.add("video chunk inside moov",
            videoAt(first, static_cast<std::uint32_t>(valid.place("moov").start), first + 26), intoMoov);
  // Entry 1 past the end of the file, at the very end, at FFFFFFFF, or
  // running over the end: it cannot be read (0); the others can.
  for (std::uint32_t outside : {size + 100, size, kMax32, size - 5}) {
    Expected expected = opensWith(kVideoSamples, kAudioSamples);
    with(expected, check(Check::kVideoShows, 0, 0, videoSample(0)));
    with(expected, check(Check::kVideoUnreadable, 1));
    with(expected, check(Check::kVideoShows, 2, 0, videoSample(2)));
    cases.add("video chunk at " + hex(outside), videoAt(first, outside, first + 26), expected);
  }
  const std::uint32_t audio = first + kVideoSamples * 13;
  Expected audioOutside = opensWith(kVideoSamples, kAudioSamples);
  with(audioOutside, check(Check::kAudioUnreadable, 2));
  with(audioOutside, check(Check::kAudioHolds, 3, 0, audioSample(3)));
  cases.add("audio chunk past the end",
            validWithBox(kAudioStbl + "/stco", stcoBox({audio, audio + 32, size + 4000, audio + 96})), audioOutside);
  // Sample sizes past the end of the file: that entry cannot be read; an
  // audio entry is read 2048 bytes at a time, also past the end here.
  Expected hugeVideo = opensWith(kVideoSamples, kAudioSamples);
  with(hugeVideo, check(Check::kVideoShows, 0, 0, videoSample(0)));
  with(hugeVideo, check(Check::kVideoUnreadable, 1));
  cases.add("video sample size FFFFFFFF", validWithBox(kVideoStbl + "/stsz", stszBox(0, 3, {13, kMax32, 13})),
            hugeVideo);
  Expected hugeAudio = opensWith(kVideoSamples, kAudioSamples);
  with(hugeAudio, check(Check::kAudioHolds, 0, 0, audioSample(0)));
  with(hugeAudio, check(Check::kAudioUnreadable, 1));
  cases.add("audio sample size 7FFFFFFF", validWithBox(kAudioStbl + "/stsz", stszBox(0, 4, {32, kMax31, 32, 32})),
            hugeAudio);
  Expected emptySample = opensWith(kVideoSamples, kAudioSamples);
  with(emptySample, check(Check::kVideoShows, 0, 0, videoSample(0)));
  cases.add("video sample size 0", validWithBox(kVideoStbl + "/stsz", stszBox(0, 3, {13, 0, 13})), emptySample);
}

// ---- Nesting ---------------------------------------------------------------------------

// The valid movie with `depth` nested empty "skip" boxes before "moov",
// written directly (a tree that deep is not built box by box).
Bytes deeplyNested(int depth) {
  WrittenMovie valid = writeMovie(validMovie());
  const std::size_t moov = valid.place("moov").start;
  Bytes nest;
  for (int level = 0; level < depth; ++level) {
    put32(nest, static_cast<std::uint32_t>(8 * (depth - level)));
    putType(nest, "skip");
  }
  Bytes bytes(valid.bytes.begin(), valid.bytes.begin() + static_cast<std::ptrdiff_t>(moov));
  append(bytes, nest);
  bytes.insert(bytes.end(), valid.bytes.begin() + static_cast<std::ptrdiff_t>(moov), valid.bytes.end());
  return bytes;
}

// The video "stbl" inside `depth` nested "edts" boxes, each claiming 16
// bytes more than it holds, so that each runs past its parent's end into
// the audio track. A box is read only as far as its parent goes, so the
// tables are read where they lie and the movie is the valid one (read to
// its full claim, every level would read the audio track again, twice as
// often as the level above: 2^40 times).
Bytes overrunningNest(int depth) {
  Movie movie = validMovie();
  Box& minf = movie.box(kVideoTrak + "/mdia/minf");
  Box nested = minf.children.back();
  for (int level = 0; level < depth; ++level) nested = container("edts", {nested});
  minf.children.back() = nested;
  const WrittenMovie exact = writeMovie(movie);
  std::string path = kVideoTrak + "/mdia/minf";
  for (int level = 0; level < depth; ++level) {
    path += "/edts";
    const BoxPlace& place = exact.place(path);
    Box& box = movie.box(path);
    box.sizeForm = SizeForm::kGiven;
    box.givenSize = static_cast<std::uint32_t>(place.end - place.start + 16);
  }
  return writeMovie(movie).bytes;
}

// The video "stbl" inside 40 nested "edts" boxes (a container type): every
// table is still read where it lies, so the movie is the valid one. Inside
// 200 it lies deeper than the reader goes (128 levels), so the video track
// has no tables and, being the first track, the movie is refused.
// 100000 nested "skip" boxes (also a container type) between "mdat" and
// "moov": however deep the reader goes into them, they hold nothing, and
// "moov" after them is read as before.
void addNesting(Cases& cases) {
  Movie movie = validMovie();
  Box& minf = movie.box(kVideoTrak + "/mdia/minf");
  Box nested = minf.children.back();
  for (int depth = 0; depth < 40; ++depth) nested = container("edts", {nested});
  minf.children.back() = nested;
  cases.add("video tables 40 boxes deep", writeMovie(movie).bytes, asValid());
  for (int depth = 40; depth < 200; ++depth) nested = container("edts", {nested});
  minf.children.back() = nested;
  cases.add("video tables 200 boxes deep", writeMovie(movie).bytes, Expected{});
  cases.add("100000 nested skip boxes", deeplyNested(100000), asValid());
  cases.add("video tables in 40 boxes each 16 bytes longer than its parent", overrunningNest(40), asValid());
}

// ---- AMR with other frame sizes ----------------------------------------------------------

Movie withAudioSamples(std::vector<Bytes> samples) {
  Movie movie = validMovie();
  movie.trackSamples[1] = samples;
  movie.box(kAudioStbl + "/stsz") = stszOf(samples);
  return movie;
}

void addAmrFrameSizes(Cases& cases) {
  // 13-byte samples (no AMR mode has them): read back as they are.
  std::vector<Bytes> short13;
  for (int i = 0; i < kAudioSamples; ++i) short13.push_back(audioSample(i, 13));
  Expected shortExpected = opensWith(kVideoSamples, kAudioSamples);
  for (int i = 0; i < kAudioSamples; ++i) with(shortExpected, check(Check::kAudioHolds, i, 0, short13[i]));
  cases.add("amr samples of 13 bytes", withAudioSamples(short13), shortExpected);
  // A constant sample size with 2 samples a chunk: one entry per chunk of
  // 2 x size bytes, so 2 entries. Chunks at samples 0 and 2.
  const std::uint32_t audio = firstSampleOffset() + kVideoSamples * 13;
  for (std::uint32_t constant : {32u, 7u, kMax31}) {
    Movie movie = validMovie();
    movie.box(kAudioStbl + "/stsz") = stszBox(constant, 4, {});
    movie.box(kAudioStbl + "/stsc") = stscBox({{1, 2, 1}});
    movie.box(kAudioStbl + "/stco") = stcoBox({audio, audio + 64});
    Expected expected = opensWith(kVideoSamples, 2);
    with(expected, check(Check::kAudioSampleMs, 20));
    if (constant == kMax31) {
      with(expected, check(Check::kAudioUnreadable, 0));  // 2 x (2^31-1) bytes: past the end
    } else {
      Bytes first = audioSample(0), second = audioSample(2);
      append(first, audioSample(1));
      append(second, audioSample(3));
      first.resize(2 * constant);
      second.resize(2 * constant);
      with(expected, check(Check::kAudioHolds, 0, 0, first));
      with(expected, check(Check::kAudioHolds, 1, 0, second));
    }
    cases.add("amr constant size " + hex(constant) + " two a chunk", movie, expected);
  }
}

// ---- Whole-file layouts ----------------------------------------------------------------

Box vendorBox(std::uint32_t revision, std::uint32_t flags, std::uint32_t videoCodec = MP4LIB_CODEC_TYPE_H263) {
  Bytes payload;
  putType(payload, "WMVH");
  for (std::uint32_t word : {0x00010000u | revision, 0u, 0u, kWidth, kHeight, 3u, flags, 10u, 0u, 0u, videoCodec}) {
    put32(payload, word);
  }
  // The last four words are in the writer's (little-endian) order.
  for (std::uint32_t word : {MP4LIB_CODEC_TYPE_AMR, 16u, 8000u, 1u}) {
    for (int i = 0; i < 4; ++i) payload.push_back(static_cast<std::uint8_t>(word >> (8 * i)));
  }
  return leaf("kelv", payload);
}

void addLayouts(Cases& cases) {
  // "moov" first: read, then "mdat" is found and parsing stops.
  Movie moovFirst = validMovie();
  std::swap(moovFirst.boxes[1], moovFirst.boxes[2]);
  cases.add("moov before mdat", moovFirst, asValid());
  // An empty "mdat" (8 bytes) is refused outright (deliberately), even with
  // the samples in a "free" box after it and a good "moov".
  Movie emptyMdat = validMovie();
  emptyMdat.samplesBox = "free";
  emptyMdat.boxes.insert(emptyMdat.boxes.begin() + 1, leaf("free", {}));
  cases.add("empty mdat", emptyMdat, refused());
  // No "moov": "mdat" alone is accepted by the parser but there are no
  // tracks.
  Movie noMoov = validMovie();
  noMoov.boxes.pop_back();
  cases.add("no moov", noMoov, refused());
  // No "mdat", samples in a "free" box: "moov" alone suffices
  // (deliberately), and the offsets point into "free".
  Movie noMdat = validMovie();
  noMdat.samplesBox = "free";
  noMdat.boxes[1].type = "free";
  cases.add("no mdat", noMdat, asValid());
  // Only a compressed movie header: "cmov" is skipped, no tracks.
  Movie compressed = validMovie();
  compressed.box("moov").children = {mvhdBox(1000, 300), leaf("cmov", Bytes(40, 0x5A))};
  cases.add("compressed moov", compressed, refused());
  // 64-bit chunk offsets are not read (deliberately): 3 frames, unplaced.
  Movie co64 = validMovie();
  Bytes offsets;
  put32(offsets, 0);
  put32(offsets, 3);
  for (int i = 0; i < 3; ++i) put64(offsets, firstSampleOffset() + 13u * i);
  co64.box(kVideoStbl + "/stco") = leaf("co64", offsets);
  cases.add("video co64", co64, opensWith(kVideoSamples, kAudioSamples));
  // Tags match in any case.
  cases.add("tag S263 in capitals", validWithBox(kVideoStbl + "/stsd", stsdBox(videoEntry("S263", kWidth, kHeight))),
            asValid());
  // "tkhd" says 176 x 144, the sample description 16 x 12, which wins.
  cases.add("tkhd size differs", validWithBox(kVideoTrak + "/tkhd", tkhdBox(1, 300, 176, 144)), asValid());
  // A vendor box with no stream flags: it opens, with neither video nor
  // audio enabled.
  Movie silent = validMovie();
  silent.boxes.insert(silent.boxes.begin() + 1, vendorBox(5, 0));
  cases.add("vendor box without flags", silent, opensWith(kDisabled, kDisabled));
  // A vendor box with video and audio: the tracks with samples; revision 5:
  // the audio sample lasts 160 / 8000 s = 20 ms.
  Movie vendor = validMovie();
  vendor.boxes.insert(vendor.boxes.begin() + 1, vendorBox(5, 12));
  Expected vendorExpected = opensWith(kVideoSamples, kAudioSamples);
  with(vendorExpected, check(Check::kAudioSampleMs, 20));
  cases.add("vendor box", vendor, vendorExpected);
  // A vendor box naming the AMR codec type for the pictures, as it is or
  // with its bytes swapped: no video plug-in has that type, so the pictures
  // go to the plug-in of the sample description (H.263), never to the AMR
  // plug-in, which would treat the picture buffer as a sound buffer.
  const std::uint32_t amrSwapped = 0x14101010u;
  static_assert(MP4LIB_CODEC_TYPE_AMR == 0x10101014u, "the AMR codec type, swapped above");
  for (std::uint32_t code : {MP4LIB_CODEC_TYPE_AMR, amrSwapped}) {
    Movie amrPictures = validMovie();
    amrPictures.boxes.insert(amrPictures.boxes.begin() + 1, vendorBox(5, 12, code));
    Expected shown = opensWith(kVideoSamples, kAudioSamples);
    for (int i = 0; i < kVideoSamples; ++i) with(shown, check(Check::kVideoShows, i, 0, videoSample(i)));
    cases.add("vendor box names AMR for the pictures " + hex(code), amrPictures, shown);
  }
  // Revision 4 and below time audio in the movie time scale (deliberately):
  // 160 x 1000 / 1000 = 160 ms.
  Movie oldVendor = validMovie();
  oldVendor.boxes.insert(oldVendor.boxes.begin() + 1, vendorBox(4, 12));
  Expected oldExpected = opensWith(kVideoSamples, kAudioSamples);
  with(oldExpected, check(Check::kAudioSampleMs, 160));
  cases.add("vendor box revision 4", oldVendor, oldExpected);
  // A second video track with 2 samples after the audio track: the later
  // video track is the one played.
  Movie twoVideo = validMovie();
  const std::vector<Bytes> second = {videoSample(0), videoSample(1)};
  twoVideo.trackSamples.push_back(second);
  twoVideo.box("moov").children.push_back(videoTrak(2, second));
  cases.add("second video track", twoVideo, opensWith(2, kAudioSamples));
  // The first track has no samples: refused, though the second has some.
  Movie emptyFirst = validMovie();
  emptyFirst.trackSamples = {{}, emptyFirst.trackSamples[0]};
  auto& traks = emptyFirst.box("moov").children;
  traks = {traks[0], audioTrak(0, {}), videoTrak(1, emptyFirst.trackSamples[1])};
  cases.add("first track empty", emptyFirst, refused());
  // Boxes the reader skips or does not know: 1000 "free" boxes before
  // "moov", a "wide" box, an unknown box in "stbl", no "ftyp".
  Movie manyFree = validMovie();
  for (int i = 0; i < 1000; ++i) manyFree.boxes.insert(manyFree.boxes.begin() + 2, leaf("free", {}));
  cases.add("1000 free boxes", manyFree, asValid());
  Movie wide = validMovie();
  wide.boxes.insert(wide.boxes.begin() + 1, leaf("wide", {}));
  cases.add("wide before mdat", wide, asValid());
  Movie unknown = validMovie();
  unknown.box(kVideoStbl).children.push_back(leaf("abcd", Bytes(20, 0xEE)));
  unknown.box("moov").children.insert(unknown.box("moov").children.begin() + 1, leaf("udta", Bytes(12, 0x11)));
  cases.add("unknown boxes", unknown, asValid());
  Movie noFtyp = validMovie();
  noFtyp.boxes.erase(noFtyp.boxes.begin());
  cases.add("no ftyp", noFtyp, asValid());
}

// ---- Pictures of another size than the file says (fuzz/known_findings.h) ------------------

Movie withVideoSamples(std::vector<Bytes> samples) {
  Movie movie = validMovie();
  movie.trackSamples[0] = samples;
  movie.box(kVideoStbl + "/stsz") = stszOf(samples);
  return movie;
}

void addPictureSizes(Cases& cases) {
  // Larger pictures than announced: converted at the announced size from
  // planes that are larger; nothing is read outside them.
  cases.add("pictures larger than announced",
            withVideoSamples({sizedVideoSample(0, 32, 24), sizedVideoSample(1, 32, 24), sizedVideoSample(2, 32, 24)}),
            opensWith(kVideoSamples, kAudioSamples));
  cases.add(
      "pictures with fewer rows",
      writeMovie(withVideoSamples({sizedVideoSample(0, 16, 4), sizedVideoSample(1, 16, 4), sizedVideoSample(2, 16, 4)}))
          .bytes,
      opensWith(kVideoSamples, kAudioSamples));
  cases.add(
      "pictures smaller than announced",
      writeMovie(withVideoSamples({sizedVideoSample(0, 8, 6), sizedVideoSample(1, 8, 6), sizedVideoSample(2, 8, 6)}))
          .bytes,
      opensWith(kVideoSamples, kAudioSamples));
}

}  // namespace

bool showKnownFindings() {
  const char* show = std::getenv("MP4LIB_SHOW_KNOWN_FINDINGS");
  return show != nullptr && show[0] == '1';
}

std::vector<MalformedCase> malformedCases() {
  Cases cases;
  cases.add("valid", validMovie(), asValid());
  addTruncations(cases);
  addSizesOfLastBoxes(cases);
  addSizesOfInnerBoxes(cases);
  addCountsTooLargeForTheirBox(cases);
  addSmallCounts(cases);
  addChunkRuns(cases);
  addTimeScales(cases);
  addChunkPlaces(cases);
  addNesting(cases);
  addAmrFrameSizes(cases);
  addLayouts(cases);
  addPictureSizes(cases);
  return cases.all;
}

}  // namespace mp4lib::malformed

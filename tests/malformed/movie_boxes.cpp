#include "malformed/movie_boxes.h"

#include <map>
#include <stdexcept>

namespace mp4lib::malformed {

void put16(Bytes& out, std::uint32_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value));
}

void put32(Bytes& out, std::uint32_t value) {
  put16(out, value >> 16);
  put16(out, value & 0xFFFF);
}

void put64(Bytes& out, std::uint64_t value) {
  put32(out, static_cast<std::uint32_t>(value >> 32));
  put32(out, static_cast<std::uint32_t>(value));
}

void putType(Bytes& out, const std::string& type) {
  for (std::size_t i = 0; i < 4; ++i) out.push_back(i < type.size() ? static_cast<std::uint8_t>(type[i]) : ' ');
}

void append(Bytes& out, const Bytes& more) { out.insert(out.end(), more.begin(), more.end()); }

void patch32(Bytes& bytes, std::size_t at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

void patchPayload32(Box& box, std::size_t at, std::uint32_t value) { patch32(box.payload, at, value); }

Box leaf(const std::string& type, Bytes payload) {
  Box box;
  box.type = type;
  box.payload = std::move(payload);
  return box;
}

Box fullBox(const std::string& type, std::uint32_t versionAndFlags, Bytes fields) {
  Bytes payload;
  put32(payload, versionAndFlags);
  append(payload, fields);
  return leaf(type, std::move(payload));
}

Box container(const std::string& type, std::vector<Box> children) {
  Box box;
  box.type = type;
  box.children = std::move(children);
  return box;
}

namespace {

// "trak#1" -> ("trak", 1); "stbl" -> ("stbl", 0).
std::pair<std::string, int> stepOf(const std::string& step) {
  const std::size_t hash = step.find('#');
  if (hash == std::string::npos) return {step, 0};
  return {step.substr(0, hash), std::stoi(step.substr(hash + 1))};
}

Box* findIn(std::vector<Box>& boxes, const std::string& path) {
  const std::size_t slash = path.find('/');
  const auto [type, index] = stepOf(path.substr(0, slash));
  int seen = 0;
  for (Box& box : boxes) {
    if (box.type != type || seen++ != index) continue;
    return slash == std::string::npos ? &box : findIn(box.children, path.substr(slash + 1));
  }
  return nullptr;
}

class Writer {
 public:
  Writer(const Movie& movie, const std::vector<std::vector<std::uint32_t>>& offsets)
      : movie_(movie), offsets_(offsets) {}

  WrittenMovie write() {
    for (const Box& box : movie_.boxes) writeBox(box, "");
    return std::move(written_);
  }

  std::size_t mdatPayloadStart() const { return mdatPayload_; }

 private:
  Bytes payloadOf(const Box& box) const {
    if (box.chunkOffsetsOfTrack < 0) return box.payload;
    Bytes payload;
    const auto& offsets = offsets_.at(static_cast<std::size_t>(box.chunkOffsetsOfTrack));
    put32(payload, 0);
    put32(payload, static_cast<std::uint32_t>(offsets.size()));
    for (std::uint32_t offset : offsets) put32(payload, offset);
    return payload;
  }

  Bytes samplesPayload() const {
    Bytes payload;
    for (const auto& track : movie_.trackSamples) {
      for (const Bytes& sample : track) append(payload, sample);
    }
    return payload;
  }

  std::string pathOf(const std::string& parent, const std::string& type) {
    const std::string plain = parent.empty() ? type : parent + "/" + type;
    const int index = seen_[plain]++;
    if (index == 0) return plain;
    const std::string numbered = type + "#" + std::to_string(index);
    return parent.empty() ? numbered : parent + "/" + numbered;
  }

  void writeBox(const Box& box, const std::string& parent) {
    Bytes& out = written_.bytes;
    BoxPlace place;
    place.path = pathOf(parent, box.type);
    place.start = out.size();
    const bool large = box.sizeForm == SizeForm::kLarge;
    put32(out, 0);  // the size, patched below
    putType(out, box.type);
    if (large) put64(out, 0);
    place.payloadStart = out.size();
    const bool holdsSamples = parent.empty() && box.type == movie_.samplesBox && !samplesWritten_ &&
                              box.children.empty() && box.payload.empty();
    if (holdsSamples) {
      samplesWritten_ = true;
      mdatPayload_ = out.size();
    }
    append(out, holdsSamples ? samplesPayload() : payloadOf(box));
    const std::size_t placeIndex = written_.places.size();
    written_.places.push_back(place);
    for (const Box& child : box.children) writeBox(child, place.path);
    written_.places[placeIndex].end = out.size();
    const std::uint64_t size = out.size() - place.start;
    switch (box.sizeForm) {
      case SizeForm::kExact: patch32(out, place.start, static_cast<std::uint32_t>(size)); break;
      case SizeForm::kZero: patch32(out, place.start, 0); break;
      case SizeForm::kGiven: patch32(out, place.start, box.givenSize); break;
      case SizeForm::kLarge:
        patch32(out, place.start, 1);
        patch32(out, place.start + 8, static_cast<std::uint32_t>(size >> 32));
        patch32(out, place.start + 12, static_cast<std::uint32_t>(size));
        break;
    }
  }

  const Movie& movie_;
  const std::vector<std::vector<std::uint32_t>>& offsets_;
  WrittenMovie written_;
  std::size_t mdatPayload_ = 0;
  bool samplesWritten_ = false;
  std::map<std::string, int> seen_;
};

// Each track's samples follow one another in the mdat payload.
std::vector<std::vector<std::uint32_t>> sampleOffsets(const Movie& movie, std::size_t payloadStart) {
  std::vector<std::vector<std::uint32_t>> offsets;
  std::size_t at = payloadStart;
  for (const auto& track : movie.trackSamples) {
    offsets.emplace_back();
    for (const Bytes& sample : track) {
      offsets.back().push_back(static_cast<std::uint32_t>(at));
      at += sample.size();
    }
  }
  return offsets;
}

}  // namespace

Box& Movie::box(const std::string& path) {
  Box* found = findIn(boxes, path);
  if (found == nullptr) throw std::invalid_argument("no box " + path);
  return *found;
}

Box* findBox(Box& root, const std::string& path) { return findIn(root.children, path); }

const BoxPlace& WrittenMovie::place(const std::string& path) const {
  for (const BoxPlace& place : places) {
    if (place.path == path) return place;
  }
  throw std::invalid_argument("no box " + path);
}

WrittenMovie writeMovie(const Movie& movie) {
  // Offsets do not change a box's size: write once to learn where the media
  // data lies, then again with the offsets.
  const std::vector<std::vector<std::uint32_t>> none = sampleOffsets(movie, 0);
  Writer first(movie, none);
  first.write();
  const auto offsets = sampleOffsets(movie, first.mdatPayloadStart());
  return Writer(movie, offsets).write();
}

}  // namespace mp4lib::malformed

// Extension: why the last initDecoder, initEncoder or createEncodeFile
// failed.
#include <cstdio>
#include <cstring>

#include "api/failures.h"
#include "api/library_state.h"
#include "mp4lib.h"

namespace mp4lib::api {

namespace {

// What people call the codec of a plug-in codec type.
const char* codecName(std::uint32_t codecType) {
  switch (codecType) {
    case MP4LIB_CODEC_TYPE_MPEG4V: return "MPEG-4 visual";
    case MP4LIB_CODEC_TYPE_H263: return "H.263";
    case MP4LIB_CODEC_TYPE_MPEG1V: return "MPEG-1 video";
    case MP4LIB_CODEC_TYPE_PCM: return "PCM";
    case MP4LIB_CODEC_TYPE_G723: return "G.723";
    case MP4LIB_CODEC_TYPE_AMR: return "AMR";
    case MP4LIB_CODEC_TYPE_AAC: return "AAC";
    default: return "an unnamed codec";
  }
}

void noteCodecFailure(LastFailure& last, std::int32_t code, const char* what, std::uint32_t codecType) {
  char text[sizeof last.text];
  std::snprintf(text, sizeof text, "%s for codec type 0x%08X (%s)", what, static_cast<unsigned>(codecType),
                codecName(codecType));
  noteFailure(last, code, text);
}

}  // namespace

void noteFailure(LastFailure& last, std::int32_t code, const char* text) {
  last.code = code;
  std::snprintf(last.text, sizeof last.text, "%s", text);
}

void noteOpenFailure(LastFailure& last, const playback::OpenReport& report) {
  using playback::OpenFailure;
  switch (report.failure) {
    case OpenFailure::kNone: return noteFailure(last, MP4LIB_FAILURE_NONE, "");
    case OpenFailure::kCannotOpenFile:
      return noteFailure(last, MP4LIB_FAILURE_CANNOT_OPEN_FILE, "the file cannot be opened for reading");
    case OpenFailure::kNotAMovie:
      return noteFailure(last, MP4LIB_FAILURE_NOT_A_MOVIE, "not a movie: no movie box (moov) and no media data (mdat)");
    case OpenFailure::kDamagedTables:
      return noteFailure(last, MP4LIB_FAILURE_DAMAGED_TABLE, "a sample table or box of the movie is damaged");
    case OpenFailure::kEmptyFirstTrack:
      return noteFailure(last, MP4LIB_FAILURE_EMPTY_FIRST_TRACK, "the movie's first track has no samples");
    case OpenFailure::kZeroTimeScale:
      return noteFailure(last, MP4LIB_FAILURE_BAD_TIME_SCALE, "the movie or a track gives a time scale of 0");
    case OpenFailure::kPictureTooLarge:
      return noteFailure(last, MP4LIB_FAILURE_PICTURE_TOO_LARGE,
                         "the picture is larger than the library plays (8192 pixels a side)");
    case OpenFailure::kSizeTooLarge:
      return noteFailure(last, MP4LIB_FAILURE_SIZE_TOO_LARGE,
                         "a sample or the sound's format is beyond what the library plays");
    case OpenFailure::kNoVideoPlugin:
      return noteCodecFailure(last, MP4LIB_FAILURE_NO_PLUGIN, "no video plug-in", report.codecType);
    case OpenFailure::kVideoPluginRefused:
      return noteCodecFailure(last, MP4LIB_FAILURE_PLUGIN_REFUSED, "the video plug-in refused the stream",
                              report.codecType);
    case OpenFailure::kNoAudioPlugin:
      return noteCodecFailure(last, MP4LIB_FAILURE_NO_PLUGIN, "no audio plug-in", report.codecType);
    case OpenFailure::kAudioPluginRefused:
      return noteCodecFailure(last, MP4LIB_FAILURE_PLUGIN_REFUSED, "the audio plug-in refused the stream",
                              report.codecType);
    case OpenFailure::kNoMemory: return noteFailure(last, MP4LIB_FAILURE_NO_MEMORY, "out of memory");
  }
}

void noteStartFailure(LastFailure& last, const recording::StartReport& report) {
  using recording::StartFailure;
  switch (report.failure) {
    case StartFailure::kNone: return noteFailure(last, MP4LIB_FAILURE_NONE, "");
    case StartFailure::kEarlierFileOpen:
      return noteFailure(last, MP4LIB_FAILURE_ORDER, "the file of the earlier recording is still open");
    case StartFailure::kDiskFull:
      return noteFailure(last, MP4LIB_FAILURE_DISK_FULL, "the disk has 10,000 bytes or less free");
    case StartFailure::kNoVideoPlugin:
      return noteCodecFailure(last, MP4LIB_FAILURE_NO_PLUGIN, "no video plug-in", report.codecType);
    case StartFailure::kVideoPluginRefused:
      return noteCodecFailure(last, MP4LIB_FAILURE_PLUGIN_REFUSED, "the video plug-in refused the parameters",
                              report.codecType);
    case StartFailure::kNoAudioPlugin:
      return noteCodecFailure(last, MP4LIB_FAILURE_NO_PLUGIN, "no audio plug-in", report.codecType);
    case StartFailure::kAudioPluginRefused:
      return noteCodecFailure(last, MP4LIB_FAILURE_PLUGIN_REFUSED, "the audio plug-in refused the parameters",
                              report.codecType);
    case StartFailure::kUnrecordableFrameRate:
      return noteFailure(last, MP4LIB_FAILURE_FRAME_RATE,
                         "the video plug-in reports a frame rate that cannot be recorded (0.001 to 2,147,483 a second)");
    case StartFailure::kNoMemory: return noteFailure(last, MP4LIB_FAILURE_NO_MEMORY, "out of memory");
    case StartFailure::kNoEncoder:
      return noteFailure(last, MP4LIB_FAILURE_ORDER, "initEncoder has not started a recording");
    case StartFailure::kFileAlreadyOpen:
      return noteFailure(last, MP4LIB_FAILURE_ORDER, "the recording's file is already open");
    case StartFailure::kCannotCreateFile:
      return noteFailure(last, MP4LIB_FAILURE_CANNOT_CREATE_FILE, "the file cannot be created for writing");
  }
}

}  // namespace mp4lib::api

using namespace mp4lib;

extern "C" MP4LIB_API int32_t mp4libLastFailure(char* text, uint32_t capacity) {
  const api::LastFailure& last = api::libraryState().lastFailure;
  if (text != nullptr && capacity > 0) std::snprintf(text, capacity, "%s", last.text);
  return last.code;
}

// Recording: the encoder context, the file header and closing the file.
#include "api/library_state.h"
#include "mp4lib.h"
#include "recording/encoder_setup.h"
#include "recording/file_close.h"
#include "recording/file_header.h"

using namespace mp4lib;

extern "C" MP4LIB_API Mp4Word initEncoder(EncoderParams* params, EncoderContext** context) {
  api::LibraryState& state = api::libraryState();
  recording::Recorder& recorder = state.recorder;
  if (state.player.open.load() || recorder.active.load()) {
    api::noteFailure(state.lastFailure, MP4LIB_FAILURE_BUSY, "a recording or a playback is open; one at a time");
    return 0;
  }
  if (params == nullptr || context == nullptr) {
    api::noteFailure(state.lastFailure, MP4LIB_FAILURE_ARGUMENT, "params and context must not be null");
    return 0;
  }
  recording::StartReport report;
  const Mp4Word result = recording::startEncoder(recorder, state.plugins, *params, &report);
  api::noteStartFailure(state.lastFailure, report);
  if (recorder.active.load()) *context = &recorder.context;
  return result;
}

extern "C" MP4LIB_API int32_t createEncodeFile(const wchar_t* path) {
  api::LibraryState& state = api::libraryState();
  recording::StartReport report;
  const int32_t created = recording::createFile(state.recorder, path, &report);
  api::noteStartFailure(state.lastFailure, report);
  return created;
}

extern "C" MP4LIB_API int32_t getEncodeFilePos(void) { return recording::filePosition(api::libraryState().recorder); }

extern "C" MP4LIB_API void finalizeEncoder(void) {
  api::LibraryState& state = api::libraryState();
  recording::finishEncoder(state.recorder, state.plugins);
}

extern "C" MP4LIB_API int32_t writeVideoFileHeader(uint32_t value, uint8_t rewrite) {
  return recording::writeFileHeader(api::libraryState().recorder, value, rewrite != 0);
}

extern "C" MP4LIB_API int32_t closeEncodeFile(void) {
  api::LibraryState& state = api::libraryState();
  bool complete = true;
  const int32_t closed = recording::closeFile(state.recorder, &complete);
  if (closed == 0) return 0;
  if (complete) {
    api::noteFailure(state.lastFailure, MP4LIB_FAILURE_NONE, "");
  } else {
    api::noteFailure(state.lastFailure, MP4LIB_FAILURE_WRITE,
                     "the file could not be written completely (is the disk full?)");
  }
  return 1;
}

// Whether libavcodec may print its own messages ("[mpeg4 @ 0x...] header
// damaged") on the application's standard error.
//
// Quiet by default: the plug-ins report every failure to the library as a
// result, and an application's standard error is the application's. An
// application that wants the messages, such as the mp4lib tool with
// --verbose, sets the environment variable
//
//   MP4LIB_PLUGIN_LOG=verbose
//
// before initMp4Lib loads the plug-ins; each plug-in reads it once, when it
// is loaded. Any other value, or none, keeps libavcodec quiet.
#pragma once

namespace mp4lib::plugin {

// The libavcodec log level MP4LIB_PLUGIN_LOG asks for (AV_LOG_QUIET or
// AV_LOG_VERBOSE); null means unset.
int codecLogLevel(const char* setting);

// Sets libavcodec's log level from MP4LIB_PLUGIN_LOG.
void applyCodecLogSetting();

}  // namespace mp4lib::plugin

#include "frame/encoder_context.h"

namespace mp4lib::frame {

namespace {

EncoderContext context;

}  // namespace

EncoderContext& encoderContext() { return context; }

}  // namespace mp4lib::frame

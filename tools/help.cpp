#include "help.h"

namespace mp4lib::tool {

namespace {

constexpr const char* kExitStatus =
    "exit status: 0 done; 1 a file or input was refused (missing, unreadable, not a movie, not decodable,\n"
    "             not writable; the message says which and why); 2 usage error (a wrong command line)\n";

constexpr const char* kCommonOptions =
    "  --quiet                  no progress line (it is only ever shown when standard error is a terminal)\n"
    "  --verbose                let the codec libraries print their own messages on standard error\n"
    "  -h, --help               this help\n";

constexpr const char* kOverview =
    "mp4lib records and plays 3GPP movies (.3gp) through the mp4lib library and its codec plug-ins.\n"
    "\n"
    "usage: mp4lib [COMMAND] [OPTIONS]\n"
    "\n"
    "  mp4lib            record movie.3gp (10 s of test picture and tone, H.263 176x144 at 15 fps with AMR)\n"
    "                    and play it into movie-frames/ (takes --quiet and --verbose)\n"
    "  mp4lib record     record a movie from the test picture and tone, from files, or live from the\n"
    "                    default input device\n"
    "  mp4lib play       decode a movie to one PNG per frame and audio.wav, or play its sound\n"
    "  mp4lib thumbs     make a contact sheet: frames at even times in a grid, with their times, as one PNG\n"
    "  mp4lib plugins    list the codec plug-ins found beside the library\n"
    "\n"
    "mp4lib COMMAND --help tells a command's options.\n"
    "\n";

constexpr const char* kRecordHelp =
    "usage: mp4lib record [OPTIONS] [OUT]\n"
    "\n"
    "Records the movie OUT (movie.3gp): pictures from the test picture (sliding colour bars and a\n"
    "bouncing square) or a file, sound from the test tone (440 Hz) or a WAV file, or live from the\n"
    "default input device.\n"
    "\n"
    "  --video h263|mpeg4|none  video codec (h263)\n"
    "  --audio amr|g723|none    audio codec (amr)\n"
    "  --size WxH               picture size (176x144); a .y4m file tells its own\n"
    "  --fps N                  frames per second, above 0 and at most 120 (15); a .y4m file tells its own\n"
    "  --seconds S              length in seconds, above 0 and at most 86400 (10)\n"
    "  --input-video FILE       pictures from FILE: .y4m (4:2:0), .yuv (I420 at --size) or .rgb (RGB24 at --size)\n"
    "  --input-audio FILE       sound from FILE: .wav, 8000 Hz mono 16-bit\n"
    "  --live                   sound from the default input device for --seconds, in real time; the\n"
    "                           pictures follow the captured time\n";

constexpr const char* kPlayHelp =
    "usage: mp4lib play [OPTIONS] [IN]\n"
    "\n"
    "Decodes the movie IN (movie.3gp): every video frame to OUTDIR/frame-NNNNN.png and the sound to\n"
    "OUTDIR/audio.wav (16-bit PCM).\n"
    "\n"
    "  --out OUTDIR             folder for the frames and the sound (movie-frames); made when missing\n"
    "  --every N                write only every Nth frame, N from 1 to 1000000 (1)\n"
    "  --device                 play the sound through the default output device instead, in real time\n";

constexpr const char* kThumbsHelp =
    "usage: mp4lib thumbs [OPTIONS] IN\n"
    "\n"
    "Makes a contact sheet of the movie IN: COUNT frames taken at the middles of COUNT equal parts of\n"
    "the movie, scaled to WIDTH pixels wide (the height keeps the movie's proportions), in rows of\n"
    "COLUMNS with 4 pixels between them; each frame carries its time (mm:ss.t) in its lower left corner.\n"
    "\n"
    "  --out SHEET              the PNG file to write (IN's name with -thumbs.png for its extension)\n"
    "  --columns COLUMNS        frames per row, 1 to 64 (4); never more than COUNT\n"
    "  --count COUNT            frames on the sheet, 1 to 1000 (12)\n"
    "  --width WIDTH            width of each frame in pixels, 16 to 4096 (160)\n";

constexpr const char* kPluginsHelp =
    "usage: mp4lib plugins\n"
    "\n"
    "Lists the codec plug-ins (codec*.so, codec*.dll) found beside the library: type, id, tag and kind.\n"
    "Exits with 1 when there are none.\n";

const char* commandHelp(const std::string& command) {
  if (command == "record") return kRecordHelp;
  if (command == "play") return kPlayHelp;
  if (command == "thumbs") return kThumbsHelp;
  if (command == "plugins") return kPluginsHelp;
  return nullptr;
}

}  // namespace

bool isCommand(const std::string& word) { return commandHelp(word) != nullptr; }

void printOverview(std::FILE* to) { std::fprintf(to, "%s%s", kOverview, kExitStatus); }

void printHelp(const std::string& command, std::FILE* to) {
  const char* help = commandHelp(command);
  if (help == nullptr) return printOverview(to);
  std::fprintf(to, "%s%s\n%s", help, kCommonOptions, kExitStatus);
}

}  // namespace mp4lib::tool

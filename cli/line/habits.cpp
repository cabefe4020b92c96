#include "cli/line/habits.h"

#include <string>

namespace qrv::cli {

namespace {

struct Habit {
  std::string_view options;  // each between spaces
  std::string_view advice;
};

// In alphabetical order of what they ask for. A letter that means several things there gets the
// advice for all of them.
constexpr Habit kHabits[] = {
    {" -e --exec ", "run the other program behind it: qrvshot a.png && PROGRAM a.png"},
    {" -c ", "--copy copies to the clipboard, --pointer shows the mouse pointer"},
    {" -C --clipboard ", "--copy copies to the clipboard"},
    {" -l --level ", "--compression 0 is the fastest and 9 the smallest"},
    {" -m --multidisp --all --all-screens --fullscreen --full --root ",
     "all displays are captured where none is chosen"},
    {" -D -M --monitor --screen --output-name ",
     "--display N chooses one that `qrvshot displays` lists; an X server is --desktop x11::0"},
    {" -F --file --filename ", "-o names the file"},
    {" -f ", "-o names the file, --format its format"},
    {" -t --type --thumb ", "--format names the format; --scale 25% makes the picture small"},
    {" -p --cursor --hidecursor --include-cursor --include-pointer --show-cursor ",
     "--pointer shows the mouse pointer"},
    {" -a -G -r --area --autoselect --crop --geometry --region ",
     "-g X,Y,W,H is a rectangle, and -s marks one with the mouse"},
    {" -I --interactive ", "-s marks a rectangle with the mouse"},
    {" -z --silent ", "-q reports only failures"},
    {" -v ", "-V prints the version"},
    {" -T --sleep --timeout --wait ", "-d waits before the capture"},
    {" -b -i -u -w --active --border --focused --id --window-id ",
     "--window active or --window TITLE captures a window, and no option the whole desktop"},
};

}  // namespace

std::string_view AdviceForHabit(std::string_view option) {
  const std::string wanted = " " + std::string(option) + " ";
  for (const Habit& each : kHabits) {
    if (each.options.find(wanted) != std::string_view::npos) return each.advice;
  }
  return "";
}

}  // namespace qrv::cli

// Whether Qt can reach a window system before a QApplication is made: Qt ends
// the whole process (qFatal) when its platform plugin is missing or its display
// does not answer, and a library must not take its host down with it.
#pragma once

#include <string>

namespace brevant {

// Empty when one of the platforms Qt would try (QT_QPA_PLATFORM, a ';' list,
// or Qt's default) has its plugin and, for xcb and wayland, a display that
// accepts a connection; else what is wrong with each, for an error text.
std::string WindowSystemProblem();

}  // namespace brevant

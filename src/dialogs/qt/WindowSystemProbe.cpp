#include "dialogs/qt/WindowSystemProbe.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QStringList>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace brevant {

namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The platform names in the order Qt tries them. Without QT_QPA_PLATFORM Qt
// takes its default, xcb, and tries wayland first in a Wayland session.
std::vector<std::string> Platforms() {
  std::string list = Env("QT_QPA_PLATFORM");
  if (list.empty()) list = Env("XDG_SESSION_TYPE") == "wayland" ? "wayland;xcb" : "xcb";
  std::vector<std::string> names;
  for (const QString& entry : QString::fromStdString(list).split(u';', Qt::SkipEmptyParts)) {
    // What follows ':' are the plugin's own arguments.
    const QString name = entry.section(u':', 0, 0).trimmed();
    if (!name.isEmpty()) names.push_back(name.toStdString());
  }
  return names;
}

// Where Qt looks for platform plugins: the folder QT_QPA_PLATFORM_PLUGIN_PATH
// names, "platforms" under QT_PLUGIN_PATH's folders, under Qt's own plugin
// folder and beside the program.
QStringList PluginFolders() {
  QStringList folders;
  if (const std::string direct = Env("QT_QPA_PLATFORM_PLUGIN_PATH"); !direct.empty()) {
    folders << QString::fromStdString(direct);
  }
  QStringList roots = QString::fromStdString(Env("QT_PLUGIN_PATH")).split(u':', Qt::SkipEmptyParts);
  roots << QLibraryInfo::path(QLibraryInfo::PluginsPath);
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) roots << QString::fromStdString(program.parent_path().string());
  for (const QString& root : roots) folders << root + QStringLiteral("/platforms");
  return folders;
}

// A plugin's keys are in its metadata, which is read without loading it; Qt
// matches them to the platform name regardless of case.
bool PluginExists(const std::string& platform) {
  const QString name = QString::fromStdString(platform);
  for (const QString& folder : PluginFolders()) {
    const QDir dir(folder);
    for (const QString& file : dir.entryList(QDir::Files)) {
      const QPluginLoader plugin(dir.filePath(file));
      const QJsonArray keys =
          plugin.metaData().value(u"MetaData").toObject().value(u"Keys").toArray();
      for (const auto& key : keys) {
        if (key.toString().compare(name, Qt::CaseInsensitive) == 0) return true;
      }
    }
  }
  return false;
}

std::string X11Problem() {
  const std::string display = Env("DISPLAY");
  if (display.empty()) return "DISPLAY is not set";
  xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
  const bool answered = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return answered ? "" : "the X display " + display + " does not answer";
}

// The compositor's socket: WAYLAND_DISPLAY (wayland-0 unless set) in
// XDG_RUNTIME_DIR, or where an absolute WAYLAND_DISPLAY says.
std::string WaylandProblem() {
  std::string name = Env("WAYLAND_DISPLAY");
  if (name.empty()) name = "wayland-0";
  std::string path = name;
  if (name[0] != '/') {
    const std::string folder = Env("XDG_RUNTIME_DIR");
    if (folder.empty()) return "XDG_RUNTIME_DIR is not set for the Wayland display " + name;
    path = folder + "/" + name;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    return "the Wayland socket path " + path + " is too long";
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool answered =
      fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (fd >= 0) close(fd);
  return answered ? "" : "the Wayland display " + path + " does not answer";
}

std::string PlatformProblem(const std::string& platform) {
  if (!PluginExists(platform)) return "Qt has no platform plugin \"" + platform + "\"";
  const QString name = QString::fromStdString(platform).toLower();
  if (name == u"xcb") return X11Problem();
  if (name.startsWith(u"wayland")) return WaylandProblem();
  // offscreen, minimal, vnc, linuxfb and the like need no display server.
  return "";
}

}  // namespace

std::string WindowSystemProblem() {
  std::string problems;
  for (const std::string& platform : Platforms()) {
    const std::string problem = PlatformProblem(platform);
    if (problem.empty()) return "";
    problems +=
        (problems.empty() ? "" : "; ") + std::string("platform ") + platform + ": " + problem;
  }
  return problems.empty() ? "QT_QPA_PLATFORM names no platform" : problems;
}

}  // namespace brevant

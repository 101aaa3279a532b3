#pragma once
// One editor per user: the first launch listens on a local socket, and a
// later launch hands its paths to it and ends, so that a track opened from
// the file manager goes to the program already open.

#include <QLocalServer>
#include <QObject>
#include <QStringList>

namespace melos::ui {

class SingleInstance : public QObject {
  Q_OBJECT

 public:
  explicit SingleInstance(QString socketPath, QObject* parent = nullptr);

  // The user's socket path from XDG_RUNTIME_DIR.
  static QString defaultSocketPath();

  // True when a running instance took the paths; this process should then end.
  bool handOver(const QStringList& absolutePaths, int timeoutMs = 2000);
  // Starts listening; a socket left by a crashed instance is replaced.
  bool listen();

 signals:
  void openRequested(const QStringList& paths);

 private:
  void receive();

  QString socketPath_;
  QLocalServer server_;
};

}  // namespace melos::ui

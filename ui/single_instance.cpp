#include "ui/single_instance.h"

#include <unistd.h>

#include <QFile>
#include <QLocalSocket>

#include "operations/instance_channel.h"

namespace melos::ui {

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent), socketPath_(std::move(socketPath)) {
  server_.setObjectName(QStringLiteral("instanceServer"));
  connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::receive);
}

QString SingleInstance::defaultSocketPath() {
  return QFile::decodeName(QByteArray::fromStdString(instanceSocketPath(std::getenv("XDG_RUNTIME_DIR"), getuid())));
}

bool SingleInstance::handOver(const QStringList& absolutePaths, int timeoutMs) {
  QLocalSocket socket;
  socket.connectToServer(socketPath_);
  if (!socket.waitForConnected(timeoutMs)) return false;
  std::vector<std::string> paths;
  for (const QString& path : absolutePaths) paths.push_back(QFile::encodeName(path).toStdString());
  socket.write(QByteArray::fromStdString(encodeOpenRequest(paths)));
  if (!socket.waitForBytesWritten(timeoutMs)) return false;
  socket.disconnectFromServer();
  if (socket.state() != QLocalSocket::UnconnectedState) socket.waitForDisconnected(timeoutMs);
  return true;
}

bool SingleInstance::listen() {
  // Only the owner may connect: the paths of one user are no one else's.
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  if (server_.listen(socketPath_)) return true;
  // Nobody answered on it (handOver failed), so the socket is a crashed
  // instance's leftover.
  QLocalServer::removeServer(socketPath_);
  return server_.listen(socketPath_);
}

void SingleInstance::receive() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    auto buffer = std::make_shared<QByteArray>();
    connect(socket, &QLocalSocket::readyRead, socket, [socket, buffer] { buffer->append(socket->readAll()); });
    connect(socket, &QLocalSocket::disconnected, this, [this, socket, buffer] {
      buffer->append(socket->readAll());
      socket->deleteLater();
      const auto paths = decodeOpenRequest(buffer->toStdString());
      if (!paths) return;
      QStringList decoded;
      for (const std::string& path : *paths) decoded.append(QFile::decodeName(QByteArray::fromStdString(path)));
      emit openRequested(decoded);
    });
  }
}

}  // namespace melos::ui

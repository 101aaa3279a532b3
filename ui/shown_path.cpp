#include "ui/shown_path.h"

namespace melos::ui {

QString shownPath(const QString& path, const QString& home) {
  const QString base = QDir::cleanPath(home);
  // A home of "/" would turn every path into "~…", which hides more than it
  // shortens.
  if (base.isEmpty() || base == QStringLiteral("/")) return path;
  if (path == base) return QStringLiteral("~");
  if (path.startsWith(base + QLatin1Char('/'))) return QLatin1Char('~') + path.mid(base.size());
  return path;
}

}  // namespace melos::ui

#include <QCoreApplication>
#include <iostream>

#include "cli/cli.h"
#include "melos_version.h"
#include "operations/threads.h"

int main(int argc, char* argv[]) {
  melos::keepFreedMemoryForReuse();
  QCoreApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("melos"));
  QCoreApplication::setApplicationVersion(QString::fromLatin1(melos::kVersionText));
  std::ios::sync_with_stdio(false);
  return melos::cli::toInt(melos::cli::runCli(QCoreApplication::arguments(), std::cout, std::cerr));
}

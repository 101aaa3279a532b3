#include <malloc.h>

#include <QCoreApplication>
#include <iostream>

#include "cli/cli.h"
#include "melos_version.h"

int main(int argc, char* argv[]) {
  // A run reads file after file, each with tag buffers of a few hundred
  // kilobytes. Left to its defaults the allocator hands that memory back to the
  // system after every file and takes it again, page fault by page fault, for
  // the next; keeping it costs a few megabytes and a third of the run time.
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  QCoreApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("melos"));
  QCoreApplication::setApplicationVersion(QString::fromLatin1(melos::kVersionText));
  std::ios::sync_with_stdio(false);
  return melos::cli::toInt(melos::cli::runCli(QCoreApplication::arguments(), std::cout, std::cerr));
}

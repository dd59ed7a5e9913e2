#pragma once

#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/types.h>

namespace merlode::bench {

/// Copies of the libraries that programs load, but for those every process has. A program that runs on them
/// shares no page of Qt with anybody, this process included, so that its proportional share is all that it
/// costs on a desk where nothing else uses Qt.
class OwnLibraries {
  public:
    explicit OwnLibraries(const QStringList& programs);

    QProcessEnvironment in(QProcessEnvironment environment) const;

  private:
    QTemporaryDir folder_;
};

/// The proportional share of memory of a process.
double megabytes(pid_t process);

/// What the threads of a process have used so far.
struct Usage {
    double seconds = 0;
    double wakeUps = 0;

    static Usage of(pid_t process);
};

/// Lets so much time pass while events go on.
void waitFor(double seconds);

} // namespace merlode::bench

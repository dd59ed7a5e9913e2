#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

namespace merlode {

/// One thing that the program relies on.
struct Check {
    enum class State { Ok, Warning, Missing };

    QString name;
    State state = State::Ok;
    QString found; ///< what was found, for people
    QString mend;  ///< how to mend it; empty where nothing is amiss
};

/// What the checks look at besides the machine.
struct DoctorFacts {
    QString configFolder;
    QString resourceFolder;
    QStringList musicFolders;
    QString link{}; ///< what the link to other machines does; empty where no program runs
};

/// Looks at each thing that the program relies on. Blocks for up to three seconds: not on the main thread of
/// a running program. Any thread with a QCoreApplication in the process.
QList<Check> runDoctor(const DoctorFacts& facts);

/// The checks under the keys of the control interface.
QList<QVariantMap> doctorAnswer(const QList<Check>& checks);

} // namespace merlode

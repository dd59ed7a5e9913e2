// What nearly every file of the tree includes anyway; only the build includes this header.
#pragma once
#include <QByteArray>
#include <QLoggingCategory>
#include <QObject>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/session.h"
#include "model/service_hosts.h"
#include "search/search_step.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

namespace merlode {

namespace {

// Beyond letters, digits and "-._~", what may stand in the host of a URL.
constexpr char kAllowedInHost[] = "!$&'()*+,;=:[]";

HttpRequest autocomplete(const QString& term) {
    return {.url = ServiceHosts::sharedController().address(WebService::Pandora) +
                   QStringLiteral("/autocomplete?adv=yes&sendquery=no&q=") +
                   QString::fromLatin1(QUrl::toPercentEncoding(term, kAllowedInHost)),
            .timeoutSeconds = kPandoraSearchTimeoutInterval};
}

// A line is an id, a tab and a name.
PandoraItem itemOf(const QString& line) {
    const QString id = line.section(u'\t', 0, 0);
    QString name = line;
    return {id, line.contains(u'\t') ? name.remove(id + u'\t') : QString()};
}

} // namespace

StepFailure searchPandora(const SearchStep& step) {
    QString failure;
    const auto reply =
        Session::current().port<HttpClient>().send(autocomplete(step.term), step.cancellation, &failure);
    if (!reply)
        return failure;
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(*reply);
    if (decoder.hasError())
        return QStringLiteral("the answer is no text");
    static const QRegularExpression lineEnd(QStringLiteral("\r\n|[\r\n\u0085\u2028\u2029]"));
    for (const QString& line : text.split(lineEnd, Qt::SkipEmptyParts)) {
        if (step.isCancelled())
            break;
        step.findings.pandora.push_back(itemOf(line));
    }
    return std::nullopt;
}

} // namespace merlode

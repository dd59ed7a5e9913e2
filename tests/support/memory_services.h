#pragma once

#include "base/session.h"
#include "platform/service_discovery.h"

#include <QStringList>

#include <algorithm>
#include <list>

namespace merlode {

/// The services of a network in memory, as several sessions announce and find them. Each step takes the time
/// that it takes on a real network.
class MemoryServices {
  public:
    double publishTime = 0.3;  ///< seconds until an announcement is known to be alone with its name
    double batchTime = 1.0;    ///< seconds that others have to answer a browser
    double resolveTime = 0.1;  ///< seconds to an address
    double farewellTime = 1.0; ///< seconds for which a service is seen that has gone
    QStringList lost;          ///< names of services that are listed still but answer no more

    struct Entry {
        ServiceDiscovery::Service service;
        QString host;
    };
    std::list<Entry> entries;

    QStringList names() const {
        QStringList result;
        for (const auto& entry : entries)
            result << entry.service.name;
        return result;
    }
};

/// One machine's view of them.
class MemoryDiscovery final : public ServiceDiscovery {
  public:
    MemoryDiscovery(MemoryServices& services, RunLoop& loop, QString host)
        : services_(services), loop_(loop), host_(std::move(host)) {}

    int browses = 0;
    std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) override {
        return std::make_unique<Publication>(*this, service, std::move(callbacks));
    }
    std::unique_ptr<Activity> browse(const QString&, BrowseCallbacks callbacks) override {
        ++browses;
        return std::make_unique<Browsing>(*this, std::move(callbacks));
    }
    std::unique_ptr<Activity> resolve(const QString&, const QString& name, double seconds,
                                      ResolveCallbacks callbacks) override {
        return std::make_unique<Resolution>(*this, name, seconds, std::move(callbacks));
    }
    QString unavailableReason() const override { return {}; }

  private:
    class Publication final : public Activity {
      public:
        Publication(MemoryDiscovery& machine, Service service, PublishCallbacks callbacks)
            : machine_(machine), callbacks_(std::move(callbacks)) {
            step_ =
                machine_.loop_.after(machine_.services_.publishTime, [this, service = std::move(service)] {
                    auto& all = machine_.services_;
                    if (all.names().contains(service.name))
                        return callbacks_.didNotPublish(nameIsTaken());
                    entry_ = all.entries.insert(all.entries.end(), {service, machine_.host_});
                    published_ = true;
                    callbacks_.didPublish();
                });
        }
        ~Publication() override { withdraw(); }
        void stop() override {
            withdraw();
            step_ = machine_.loop_.after(0, callbacks_.didStop);
        }

      private:
        void withdraw() {
            if (!std::exchange(published_, false))
                return;
            auto& all = machine_.services_;
            machine_.loop_.asyncAfter(all.farewellTime, [&all, entry = entry_] { all.entries.erase(entry); });
        }
        MemoryDiscovery& machine_;
        PublishCallbacks callbacks_;
        std::list<MemoryServices::Entry>::iterator entry_;
        bool published_ = false;
        Timer step_;
    };

    class Browsing final : public Activity {
      public:
        Browsing(MemoryDiscovery& machine, BrowseCallbacks callbacks)
            : machine_(machine), callbacks_(std::move(callbacks)) {
            beginning_ = machine_.loop_.after(0, callbacks_.willSearch);
            batches_ = machine_.loop_.every(machine_.services_.batchTime, [this] { tell(); });
        }
        void stop() override {
            batches_.invalidate();
            beginning_ = machine_.loop_.after(0, callbacks_.didStop);
        }

      private:
        void tell() {
            QStringList fresh = machine_.services_.names();
            fresh.removeIf([this](const QString& name) { return told_.contains(name); });
            told_ << fresh;
            while (!fresh.isEmpty()) {
                const QString name = fresh.takeFirst();
                callbacks_.didFind(name, !fresh.isEmpty());
            }
        }
        MemoryDiscovery& machine_;
        BrowseCallbacks callbacks_;
        QStringList told_;
        Timer beginning_;
        Timer batches_;
    };

    class Resolution final : public Activity {
      public:
        Resolution(MemoryDiscovery& machine, const QString& name, double seconds, ResolveCallbacks callbacks)
            : callbacks_(std::move(callbacks)) {
            const auto& all = machine.services_;
            const auto found =
                std::ranges::find(all.entries, name, [](const auto& e) { return e.service.name; });
            if (found == all.entries.end() || all.lost.contains(name))
                step_ = machine.loop_.after(seconds, [this] { callbacks_.didNotResolve(u"late"_qs); });
            else
                step_ = machine.loop_.after(all.resolveTime, [this, entry = *found] {
                    callbacks_.didResolve({{entry.host, entry.service.port}}, entry.service.port);
                });
        }
        void stop() override { step_.invalidate(); }

      private:
        ResolveCallbacks callbacks_;
        Timer step_;
    };

    MemoryServices& services_;
    RunLoop& loop_;
    const QString host_;
};

} // namespace merlode

#pragma once

#include "model/item_link.h"
#include "remote/remote_action_controller.h"
#include "search/search_controller.h"
#include "support/fake_http.h"
#include "support/player_fixture.h"

namespace merlode {

/// A machine with all that takes part in remote actions.
class RemoteMachine : public PlayerMachine, public ItemLink {
  public:
    template<class... Link>
    explicit RemoteMachine(Link... link) : PlayerMachine(std::move(link)...) {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(*this);
        test.session.installReference<MediaLibrary>(library);
        remote.clients[kAddress] = 1;
    }

    std::shared_ptr<const LibrarySongs> iTunesSongs() override {
        return std::make_shared<const LibrarySongs>(songs);
    }
    /// Runs `work` as this machine: two of them may share the thread.
    template<class Work>
    decltype(auto) as(Work work) {
        const SessionScope scope(&test.session);
        return work();
    }

    const QString kAddress = u"10.0.0.7"_qs; ///< of the one client
    std::vector<LibrarySong> songs;
    FakeHttp http;
    FakeMediaLibrary library;
};

} // namespace merlode

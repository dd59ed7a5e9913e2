#include "appearance/background_scheme_controller.h"

#include "appearance/color_art.h"
#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "model/image_tools.h"
#include "players/player_controller.h"

namespace merlode {

namespace {

const QString kAnalysisQueue = QStringLiteral("co.vantry.Merlode.Colors");

const Image& currentArt() {
    return PlayerController::sharedController().currentAlbumArt();
}

} // namespace

ControlImages ControlImages::filled(const Color& color) const {
    ControlImages images = *this;
    for (auto image :
         {&ControlImages::heartOffImage, &ControlImages::heartOnImage, &ControlImages::muteOffImage,
          &ControlImages::muteOnImage, &ControlImages::nextImage, &ControlImages::sliderBarImage,
          &ControlImages::sliderKnobImage, &ControlImages::pauseImage, &ControlImages::playImage,
          &ControlImages::previousImage, &ControlImages::thumbsUpImage, &ControlImages::thumbsDownImage,
          &ControlImages::thumbsUpSelectedImage, &ControlImages::thumbsDownSelectedImage,
          &ControlImages::starEmptyImage, &ControlImages::starFilledImage})
        images.*image = (images.*image).filled(color);
    return images;
}

BackgroundSchemeController& BackgroundSchemeController::sharedController() {
    return Session::current().shared<BackgroundSchemeController>();
}

BackgroundSchemeController::BackgroundSchemeController()
    : session_(Session::current()), images_(defaultImages_) {
    newArt_ = session_.notificationCenter().addObserver(notifications::kNewAlbumArtAvailable,
                                                        [this](const auto&) { prepareForNewScheme(); });
}

void BackgroundSchemeController::prepareForNewScheme() {
    updateTimer_.invalidate();
    if (currentArt() == sSharedAlbumArtworkImage())
        updateTimer_ = session_.runLoop().after(kUpdateInterval, [this] { getNewScheme(); });
    else
        getNewScheme();
}

void BackgroundSchemeController::getNewScheme() {
    const Image& art = currentArt();
    if (art == sSharedAlbumArtworkImage())
        return resetScheme();
    session_.queue(kAnalysisQueue)
        .async([this, art, life = std::weak_ptr(life_), &loop = session_.runLoop()] {
            const SLColorArt colors(resize(art, kAnalysisSize), kAnalysisSize);
            loop.async([this, life, background = colors.backgroundColor(), primary = colors.primaryColor()] {
                if (life.expired())
                    return;
                if (background)
                    install(defaultImages_.filled(primary), *background, primary);
                else
                    resetScheme();
            });
        });
}

void BackgroundSchemeController::resetScheme() {
    install(defaultImages_, kDefaultBackgroundColor, kDefaultControlColor);
}

void BackgroundSchemeController::install(const ControlImages& images, const Color& background,
                                         const Color& control) {
    images_ = images;
    backgroundColor_ = background;
    controlColor_ = control;
    session_.notificationCenter().post(notifications::kBackgroundSchemeUpdated);
}

} // namespace merlode

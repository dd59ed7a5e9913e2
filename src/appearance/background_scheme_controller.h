#pragma once

#include "appearance/control_image.h"
#include "base/image.h"
#include "base/notification_center.h"
#include "base/run_loop.h"

#include <memory>

namespace merlode {

class Session;

/// The sixteen shapes of the panel's controls.
struct ControlImages {
    ControlImage heartOffImage = ControlImage::named(QStringLiteral("Heart-Off"));
    ControlImage heartOnImage = ControlImage::named(QStringLiteral("Heart-On"));
    ControlImage muteOffImage = ControlImage::named(QStringLiteral("Mute-Off"));
    ControlImage muteOnImage = ControlImage::named(QStringLiteral("Mute-On"));
    ControlImage nextImage = ControlImage::named(QStringLiteral("Next"));
    ControlImage sliderBarImage = ControlImage::named(QStringLiteral("PanelVolumeSliderBar"));
    ControlImage sliderKnobImage = ControlImage::named(QStringLiteral("PanelVolumeSliderKnob"));
    ControlImage pauseImage = ControlImage::named(QStringLiteral("Pause"));
    ControlImage playImage = ControlImage::named(QStringLiteral("Play"));
    ControlImage previousImage = ControlImage::named(QStringLiteral("Previous"));
    ControlImage thumbsUpImage = ControlImage::named(QStringLiteral("Thumb-Up"));
    ControlImage thumbsDownImage = ControlImage::named(QStringLiteral("Thumb-Down"));
    ControlImage thumbsUpSelectedImage = ControlImage::named(QStringLiteral("Thumb-Up-Selected"));
    ControlImage thumbsDownSelectedImage = ControlImage::named(QStringLiteral("Thumb-Down-Selected"));
    ControlImage starEmptyImage = ControlImage::named(QStringLiteral("Star-Empty"));
    ControlImage starFilledImage = ControlImage::named(QStringLiteral("Star-Filled"));

    /// All of them in one colour.
    ControlImages filled(const Color& color) const;
    bool operator==(const ControlImages&) const = default;
};

/// The colours and control images of the panel: those of the cover that is shown, or neutral ones where there
/// is none. Main thread; "BackgroundSchemeUpdated" tells that everything here is to be read again.
class BackgroundSchemeController {
  public:
    static BackgroundSchemeController& sharedController();

    BackgroundSchemeController();
    BackgroundSchemeController(const BackgroundSchemeController&) = delete;
    BackgroundSchemeController& operator=(const BackgroundSchemeController&) = delete;

    const Color kDefaultBackgroundColor{0.95, 0.95, 0.95};
    const Color kDefaultControlColor{};
    const Color kDefaultLinkColor{0, 0.67, 0.87};
    const double fadeTime = 0.3;        ///< seconds over which the views fade from one scheme to the next
    const double kUpdateInterval = 5.0; ///< seconds for which missing art is waited for
    const QSize kAnalysisSize{320, 320};

    const ControlImages& images() const { return images_; }
    const ControlImages& defaultImages() const { return defaultImages_; }
    const Color& backgroundColor() const { return backgroundColor_; }
    const Color& controlColor() const { return controlColor_; }
    /// The control colour, moved as far as small text needs it to be readable on the background.
    Color textColor() const { return readableOn(backgroundColor_, controlColor_); }

    /// Looks at the art that is shown now. Where that is the placeholder, the scheme stays for
    /// `kUpdateInterval`, since the art may be on its way.
    void prepareForNewScheme();

    /// Takes the colours out of the art on a background queue, or the neutral ones where there is none.
    void getNewScheme();

    void resetScheme();

  private:
    void install(const ControlImages& images, const Color& background, const Color& control);

    Session& session_;
    const ControlImages defaultImages_;
    ControlImages images_;
    Color backgroundColor_ = kDefaultBackgroundColor;
    Color controlColor_ = kDefaultControlColor;
    Timer updateTimer_;
    Observation newArt_;
    std::shared_ptr<char> life_ = std::make_shared<char>(); ///< analyses hold it weakly
};

} // namespace merlode

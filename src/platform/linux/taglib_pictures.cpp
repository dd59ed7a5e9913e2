#include "platform/linux/taglib_pictures.h"

#include "platform/linux/taglib_stream.h"

#include <apefile.h>
#include <apetag.h>
#include <asftag.h>
#include <attachedpictureframe.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mp4coverart.h>
#include <mp4tag.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <trueaudiofile.h>
#include <wavfile.h>
#include <wavpackfile.h>
#include <xiphcomment.h>

namespace merlode {

namespace {

using TagLib::ByteVector;

/// Keeps the best of the pictures that are shown to it.
class Choice {
  public:
    void offer(const ByteVector& picture, bool isFront) {
        if (picture.isEmpty() || (!best_.isEmpty() && (isFront_ || !isFront)))
            return;
        best_ = picture;
        isFront_ = isFront;
    }
    std::optional<QByteArray> best() const {
        if (best_.isEmpty())
            return std::nullopt;
        return QByteArray(best_.data(), static_cast<qsizetype>(best_.size()));
    }

  private:
    ByteVector best_;
    bool isFront_ = false;
};

void look(Choice& choice, const TagLib::ID3v2::Tag* tag) {
    using TagLib::ID3v2::AttachedPictureFrame;
    for (const auto* frame : tag ? tag->frameList("APIC") : TagLib::ID3v2::FrameList()) {
        if (const auto* picture = dynamic_cast<const AttachedPictureFrame*>(frame))
            choice.offer(picture->picture(), picture->type() == AttachedPictureFrame::FrontCover);
    }
}

void look(Choice& choice, const TagLib::List<TagLib::FLAC::Picture*>& pictures) {
    for (const auto* picture : pictures)
        choice.offer(picture->data(), picture->type() == TagLib::FLAC::Picture::FrontCover);
}

void look(Choice& choice, const TagLib::APE::Tag* tag) {
    if (!tag)
        return;
    for (const auto& [name, item] : tag->itemListMap()) {
        // A file name and its end stand before the picture.
        const auto data = name.startsWith("COVER ART") ? item.binaryData() : ByteVector();
        const int end = data.find('\0');
        if (end >= 0)
            choice.offer(data.mid(static_cast<unsigned>(end) + 1), name == "COVER ART (FRONT)");
    }
}

void look(Choice& choice, const TagLib::MP4::Tag& tag) {
    for (const auto& cover : tag.item("covr").toCoverArtList())
        choice.offer(cover.data(), false);
}

void look(Choice& choice, const TagLib::ASF::Tag& tag) {
    for (const auto& attribute : tag.attribute("WM/Picture")) {
        const auto picture = attribute.toPicture();
        choice.offer(picture.picture(), picture.type() == TagLib::ASF::Picture::FrontCover);
    }
}

void lookAtTag(Choice& choice, TagLib::Tag* tag) {
    if (auto* xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(tag))
        look(choice, xiph->pictureList());
    else if (const auto* mp4 = dynamic_cast<const TagLib::MP4::Tag*>(tag))
        look(choice, *mp4);
    else if (const auto* asf = dynamic_cast<const TagLib::ASF::Tag*>(tag))
        look(choice, *asf);
    else
        look(choice, dynamic_cast<const TagLib::ID3v2::Tag*>(tag));
}

// Kinds of files whose one tag is a union of several.
void lookAtFile(Choice& choice, TagLib::File& file) {
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
        look(choice, mpeg->ID3v2Tag());
        look(choice, mpeg->APETag());
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(&file)) {
        look(choice, flac->pictureList());
        look(choice, flac->ID3v2Tag());
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(&file)) {
        look(choice, wav->ID3v2Tag());
    } else if (auto* trueAudio = dynamic_cast<TagLib::TrueAudio::File*>(&file)) {
        look(choice, trueAudio->ID3v2Tag());
    } else if (auto* ape = dynamic_cast<TagLib::APE::File*>(&file)) {
        look(choice, ape->APETag());
    } else if (auto* wavPack = dynamic_cast<TagLib::WavPack::File*>(&file)) {
        look(choice, wavPack->APETag());
    } else if (auto* musepack = dynamic_cast<TagLib::MPC::File*>(&file)) {
        look(choice, musepack->APETag());
    }
    lookAtTag(choice, file.tag());
}

} // namespace

std::optional<QByteArray> pictureOf(TagLib::File& file) {
    Choice choice;
    lookAtFile(choice, file);
    return choice.best();
}

std::optional<QByteArray> embeddedPicture(const QByteArray& path) {
    std::optional<QByteArray> picture;
    readMusicFile(path, false, [&picture](TagLib::File& file) { picture = pictureOf(file); });
    return picture;
}

} // namespace merlode

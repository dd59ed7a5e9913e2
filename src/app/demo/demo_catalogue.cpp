#include "app/demo/demo_catalogue.h"

#include <QStringList>

namespace merlode {

namespace {

/// One album as it is written down here. Tracks are parted by "|"; on a compilation "Artist~Title".
struct Row {
    const char* title = "";
    const char* artist = "";
    const char* genre = "";
    const char* date = "";
    DemoStyle style = DemoStyle::Folk;
    DemoCoverFile coverFile = DemoCoverFile::None;
    bool compilation = false;
    const char* firstDisc = "";
    const char* secondDisc = "";
};

// Between them the albums hold what a library trips over: accents, scripts in both directions, two discs, a
// compilation, a single, a title without end.
constexpr Row kRows[] = {
    {"Lanterns over Quillmere", "The Paper Herons", "Folk", "2019-05-17", DemoStyle::Folk,
     DemoCoverFile::Jpeg, false,
     "The Ferryman's Umbrella|Quillmere by Candle|Seven Crooked Stiles|A Letter to the Weathercock|Thistle & "
     "Thimble|"
     "Low Tide Waltz|The Beekeeper's Other Daughter|Hazel, Rowan, Rain|Half a Mile to Morning|Where the "
     "Signpost Fell|"
     "Old Bramble Road|Lanterns (Reprise)"},
    {"Small Hours Cartography", "Odell Finchley Five", "Jazz", "1998", DemoStyle::Jazz, DemoCoverFile::None,
     false,
     "Blue Ink, Brown Paper|The Lift Stops at Nine|Cartographer's Insomnia|Two Sugars for the Doorman|Tram "
     "41|"
     "Sleeping Sextant|A Quarter to Something|Folding the Map Wrong|Marginalia|Night Clerk|Unsurveyed"},
    {"Les Marées de Clairvoue", "Élodie Garançais", "Chanson", "2007", DemoStyle::Folk, DemoCoverFile::Jpeg,
     false,
     "L'été à Clairvoue|Où dorment les réverbères|Ça ira mieux dimanche|Le cœur en bandoulière|Mûres et "
     "orages|"
     "Façade sud|Près du phare éteint|Noël en août|L'aïeule aux hortensias|Théâtre d'ombres|Un goût de sel|À "
     "bientôt"},
    {"Über den Dächern grüßt der Föhn", "Jörg Mühlbrück & die Späten Züge", "Pop", "2014", DemoStyle::Pop,
     DemoCoverFile::None, false,
     "Gleis elf|Grüße aus Überlangen|Straßenmusik|Schöne Müdigkeit|Der Föhn|Äpfel, Nüsse, Ölfarbe|Fünf vor "
     "zwölf|"
     "Höhenangst|Süßes Nichts|Die große Ähnlichkeit|Rückfahrkarte|Über den Dächern"},
    {"Snø på Ytterskjæret", "Sålva Fjellbekk", "Ambient", "2021", DemoStyle::Ambient, DemoCoverFile::Png,
     false,
     "Første lys|Å være øy|Måkene tier|Blåtimen|Snø på skjæret|Ærfugl|Længsel, lågt "
     "vatn|Tåkelur|Vårløysing|Ut av fjorden"},
    {"Θάλασσα από γυαλί", "Οι Χάρτινοι Γλάροι", "Ελληνικά", "2003", DemoStyle::Folk, DemoCoverFile::None,
     false,
     "Το καΐκι της γιαγιάς|Θάλασσα από γυαλί|Άσπρα σκαλοπάτια|Μια βάρκα γεμάτη σύννεφα|Ο φάρος κοιμάται|"
     "Λεμονιές του Ιουλίου|Καλοκαίρι στο μπαλκόνι|Ύπνος ελαφρύς|Τρία γράμματα|Χορός των γλάρων|Ήσυχο "
     "λιμάνι|Ως το πρωί"},
    {"Письма с тихой станции", "Ансамбль «Сонный маяк»", "Эстрада", "1986", DemoStyle::Chamber,
     DemoCoverFile::Jpeg, false,
     "Тихая станция|Чай в подстаканнике|Письмо первое|Ёлки за окном|Жёлтый семафор|Вальс "
     "проводницы|Объездной путь|"
     "Письмо второе|Щегол и щука|Снег до самой Выхиловки|Почтовый вагон|Эхо|Письмо третье|Станция "
     "просыпается"},
    {"雨のち硝子の街", "月見坂電灯団", "J-Pop", "2012-06-06", DemoStyle::Pop, DemoCoverFile::Jpeg, false,
     "雨のち硝子の街|電灯のともる頃|紙飛行機の郵便局|カタツムリ特急|午前三時の自動販売機|ひつじ雲の数え方|"
     "坂の上のラムネ|"
     "すれちがい信号|ガラスのサカナ|忘れもの預り所|夕立ダイヤグラム|おやすみ路面電車|月見坂"},
    {"风筝与灯塔", "纸船巷乐队", "民谣", "2016", DemoStyle::Folk, DemoCoverFile::None, false,
     "纸船巷|风筝与灯塔|第七个路口的猫|外婆的收音机|雨伞借给了春天|慢车去临湖|一封没有邮票的信|灯塔看守人|"
     "豆浆与晨雾|屋顶上的秋天|晚安，小镇|风停以后"},
    {"종이배의 여름", "느린우체통클럽", "인디", "2020-07-21", DemoStyle::Electronic, DemoCoverFile::Png,
     false,
     "종이배의 여름|느린 우체통|옥상 수영장|자전거와 소나기|파란 대문집|구름 한 스푼|막차의 고양이|수박과 "
     "선풍기|"
     "편지를 접는 법|골목 끝 바다|반딧불 정류장|여름의 뒷면"},
    {"رسائل من قمر الورق", "فرقة نخيل الزجاج", "موسيقى شرقية", "1995", DemoStyle::Chamber,
     DemoCoverFile::None, false,
     "قمر الورق|نافذة على النهر|رسالة أولى|قهوة المساء|ظلّ النخيل|سفينة بلا مرسى|مطر على السطوح|رسالة ثانية|"
     "حديقة الزجاج|آخر القناديل|صباح بعيد"},
    {"מגדלור של נייר", "תזמורת הגשר הנמוך", "פולק", "2010", DemoStyle::Folk, DemoCoverFile::Jpeg, false,
     "מגדלור של נייר|הגשר הנמוך|שלוש מטריות|תחנה אחרונה, ירח|תה עם נענע|הספרייה בסוף הרחוב|שיר ערש לאופניים|"
     "חלון צהוב|גשם ראשון|בוקר טוב, ים"},
    {"The Long Meridian", "The Tidewright Ensemble", "Classical", "2001", DemoStyle::Chamber,
     DemoCoverFile::Jpeg, false,
     "I. Departure|II. The Harbour Clock|III. Soundings|IV. A Chart of Calms|V. Lamplight on Rigging|VI. The "
     "Doldrums|"
     "VII. Petrels|VIII. First Watch|IX. Second Watch|X. Phosphor|XI. Trade Wind|XII. Crossing the Line",
     "XIII. Southern Stars|XIV. Ice Letters|XV. The Cook's Passacaglia|XVI. Albatross|XVII. A Name on the "
     "Water|"
     "XVIII. Roaring Latitudes|XIX. The Stowaway|XX. Becalmed|XXI. Driftwood Fugue|XXII. Landfall|XXIII. "
     "Home by Starlight"},
    {"Nightboat Radio: Signals from Everywhere", "Various Artists", "World", "2022", DemoStyle::Electronic,
     DemoCoverFile::Png, true,
     "The Paper Herons~Night Ferry|Modem Orchard~Harbour Loop|Élodie Garançais~Bateau de nuit|"
     "月見坂電灯団~夜行船|Sålva Fjellbekk~Skjærgård|Kestrel Ombudsman~Static for Beginners|"
     "Οι Χάρτινοι Γλάροι~Νυχτερινό πλοίο|The Velveteen Tollbooth~Signal Lamp|纸船巷乐队~夜航|"
     "Ансамбль «Сонный маяк»~Ночной паром|Mirabel Oke & Tin Parade~Buoy No. 9|느린우체통클럽~밤배|"
     "Jörg Mühlbrück & die Späten Züge~Nachtfähre|فرقة نخيل الزجاج~سفينة الليل|Captain Almanac~Shipping "
     "Forecast Blues|"
     "תזמורת הגשר הנמוך~סירת לילה|Ludo Quaternary~Morse for Two|The Tidewright Ensemble~Anchor Music"},
    {"Copper Rain", "Nell Ostrander-Vey", "Pop", "2023-11-03", DemoStyle::Pop, DemoCoverFile::None, false,
     "Copper Rain"},
    {"Kilowatt Garden", "Modem Orchard", "Electronic", "2018", DemoStyle::Electronic, DemoCoverFile::Jpeg,
     false,
     "Seed Voltage|Greenhouse Protocol|Pollen Counter|Sprinkler Logic|Compost Dreams of Electric Rain|Ivy "
     "League of Robots|"
     "The Remarkably Long and Only Slightly Exaggerated Account of How a Small Solar Panel on the Roof of "
     "the Allotment "
     "Shed Learned to Sing, Lost Its Voice in the Autumn Fog, and Found It Again the Following Spring under "
     "a Pile of "
     "Perfectly Ordinary Flowerpots (Extended Greenhouse Version)|Root Access|Photosynth|Bee "
     "Frequency|Trellis|"
     "Night Soil|Harvest.exe|Kilowatt Lullaby"},
};

void addDisc(DemoAlbum& album, int disc, const QString& text) {
    const auto entries = text.split(u'|', Qt::SkipEmptyParts);
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const auto mark = album.compilation ? entries[i].indexOf(u'~') : -1;
        album.tracks.push_back({entries[i].mid(mark + 1), mark < 0 ? album.artist : entries[i].left(mark),
                                disc, static_cast<int>(i) + 1, static_cast<int>(entries.size())});
    }
}

DemoAlbum albumOf(const Row& row) {
    DemoAlbum album;
    album.title = QString::fromUtf8(row.title);
    album.artist = QString::fromUtf8(row.artist);
    album.genre = QString::fromUtf8(row.genre);
    album.date = QString::fromUtf8(row.date);
    album.style = row.style;
    album.coverFile = row.coverFile;
    album.compilation = row.compilation;
    addDisc(album, 1, QString::fromUtf8(row.firstDisc));
    addDisc(album, 2, QString::fromUtf8(row.secondDisc));
    album.discs = album.tracks.back().disc;
    return album;
}

} // namespace

const std::vector<DemoAlbum>& demoCatalogue() {
    static const auto albums = [] {
        std::vector<DemoAlbum> made;
        for (const auto& row : kRows)
            made.push_back(albumOf(row));
        return made;
    }();
    return albums;
}

} // namespace merlode

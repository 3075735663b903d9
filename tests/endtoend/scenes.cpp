#include "tests/endtoend/scenes.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace qvtest {

namespace {

constexpr double darkStreet = 60.0;
constexpr double lightDie = 150.0;
constexpr double lightStreet = 200.0;
constexpr double darkDie = 95.0;

/// Width of the vertical streets (measured in x), then of the horizontal ones.
struct Widths {
    double x;
    double y;
};

/// How many streets of each direction.
struct Counts {
    int horizontal;
    int vertical;
};

/// Dark streets that share the image evenly, turned by `tilt` degrees, the vertical ones by `outOfSquare` more, and
/// placed so that no pitch, offset or border distance is equal in x and y.
Scene grid(long width, long height, double tilt, Widths widths, Counts counts, double outOfSquare = 0.0) {
    Scene scene;
    scene.width = width;
    scene.height = height;
    const double pitchY = static_cast<double>(height) / (counts.horizontal + 0.15);
    const double pitchX = static_cast<double>(width) / (counts.vertical + 0.25);
    scene.families[0] = centredFamily(tilt, pitchY, counts.horizontal, 0.031 * pitchY, widths.y, darkStreet);
    scene.families[1] =
        centredFamily(90.0 + tilt + outOfSquare, pitchX, counts.vertical, -0.043 * pitchX, widths.x, darkStreet);
    scene.dieGrey = lightDie;
    scene.blurSigma = 0.8;
    scene.noiseSigma = 3.0;
    scene.seed = static_cast<std::uint64_t>(width * 31 + height * 7) + static_cast<std::uint64_t>(100.0 + 4.0 * tilt);
    return scene;
}

Scene withLightStreets(Scene scene) {
    scene.families[0].grey = lightStreet;
    scene.families[1].grey = lightStreet;
    scene.dieGrey = darkDie;
    return scene;
}

Scene withContrast(Scene scene, double contrast) {
    scene.families[0].grey = scene.dieGrey - contrast;
    scene.families[1].grey = scene.dieGrey - contrast;
    return scene;
}

Scene withNoise(Scene scene, double sigma) {
    scene.noiseSigma = sigma;
    return scene;
}

Scene withBlur(Scene scene, double sigma) {
    scene.blurSigma = sigma;
    return scene;
}

Scene withArtwork(Scene scene, DieArtwork dies, StreetArtwork streets, double contrast = 1.0) {
    scene.dieArtwork = dies;
    scene.streetArtwork = streets;
    scene.dieArtworkContrast = contrast;
    scene.streetArtworkContrast = 0.7 * contrast;
    return scene;
}

Scene inClientFrame(Scene scene, const ClientTransform& clientFromImage) {
    scene.clientFromImage = clientFromImage;
    return scene;
}

ClientTransform mirroredInY(double tx, double ty) {
    ClientTransform transform;
    transform.d = -1.0;
    transform.tx = tx;
    transform.ty = ty;
    return transform;
}

ClientTransform scaledAndRotated(double unitsPerPel, double degrees, double tx, double ty) {
    ClientTransform transform = ClientTransform::rotated(degrees, tx, ty);
    transform.a *= unitsPerPel;
    transform.b *= unitsPerPel;
    transform.c *= unitsPerPel;
    transform.d *= unitsPerPel;
    return transform;
}

class Table {
 public:
    void clean(std::string name, std::string shows, Scene scene) {
        rows_.push_back({std::move(name), std::move(shows), RowKind::clean, AskedPolarity::any, std::move(scene)});
    }
    void hard(std::string name, std::string shows, Scene scene, AskedPolarity polarity = AskedPolarity::any) {
        rows_.push_back({std::move(name), std::move(shows), RowKind::hard, polarity, std::move(scene)});
    }
    void empty(std::string name, std::string shows, Scene scene) {
        scene.families[0].offsets.clear();
        scene.families[1].offsets.clear();
        rows_.push_back({std::move(name), std::move(shows), RowKind::empty, AskedPolarity::any, std::move(scene)});
    }
    std::vector<SceneRow> take() { return std::move(rows_); }

 private:
    std::vector<SceneRow> rows_;
};

void addSizes(Table& table) {
    table.clean("side_512", "smallest side asked of", grid(512, 512, 1.3, {18, 18}, {3, 3}));
    table.clean("side_512_light", "light streets, unequal widths",
                withLightStreets(grid(512, 512, -2.2, {12, 20}, {2, 3})));
    table.clean("side_640", "side between two reduction factors", grid(640, 640, -0.6, {24, 14}, {3, 2}));
    table.clean("side_768_light", "light streets", withLightStreets(grid(768, 768, 2.1, {16, 28}, {3, 4})));
    table.clean("side_1000", "side that no power of two divides", grid(1000, 1000, 0.7, {18, 30}, {3, 2}));
    table.clean("side_1024", "common camera", grid(1024, 1024, 1.3, {20, 20}, {3, 3}));
    table.clean("side_1024_straight", "angles of exactly 0 and 90 degrees", grid(1024, 1024, 0.0, {22, 26}, {3, 4}));
    table.clean("side_1536_light", "light streets", withLightStreets(grid(1536, 1536, -3.6, {34, 24}, {4, 3})));
    table.clean("side_2048", "large camera", grid(2048, 2048, 2.5, {40, 48}, {4, 4}));
    table.clean("side_2048_narrow", "streets narrower than one sample pel", grid(2048, 2048, 1.1, {8, 10}, {3, 3}));
    table.clean("side_4096", "largest side", grid(4096, 4096, 0.9, {60, 44}, {4, 5}));
    table.clean("side_4096_light", "light streets two sample pels wide",
                withLightStreets(grid(4096, 4096, -1.7, {36, 30}, {3, 3})));
    table.hard("side_256", "hardly more pels than samples", grid(256, 256, 1.3, {10, 8}, {2, 2}));
    table.hard("side_300", "reduction factor 1", grid(300, 300, -3.0, {10, 12}, {2, 3}));
    table.hard("side_384_light", "light streets below the smallest side asked of",
               withLightStreets(grid(384, 384, 2.0, {14, 12}, {3, 2})));
}

void addOblongs(Table& table) {
    table.clean("oblong_1280x960", "4 : 3", grid(1280, 960, 3.1, {20, 20}, {3, 4}));
    table.clean("oblong_1024x768_light", "4 : 3, unequal widths",
                withLightStreets(grid(1024, 768, -1.4, {18, 30}, {3, 3})));
    table.clean("oblong_768x1024", "3 : 4, unequal widths", grid(768, 1024, -3.0, {30, 18}, {4, 2}));
    table.clean("oblong_1024x640_tilted", "8 : 5, well tilted", grid(1024, 640, 8.0, {20, 16}, {2, 3}));
    table.clean("oblong_2048x1024", "2 : 1", grid(2048, 1024, 2.0, {24, 32}, {2, 4}));
    table.clean("oblong_640x1920_light", "1 : 3", withLightStreets(grid(640, 1920, 1.0, {20, 26}, {5, 2})));
    table.clean("oblong_3072x1024", "3 : 1", grid(3072, 1024, -1.2, {40, 30}, {3, 4}));
    // Below half of the best angle's score a direction gets the other one's perpendicular, and 3 : 1 triples the error
    // that this angle has.
    table.hard("oblong_3072x1024_2x5", "3 : 1, few streets of one direction, many of the other",
               grid(3072, 1024, -1.2, {40, 30}, {2, 5}));
    table.hard("oblong_512x256", "shorter side below those asked of", grid(512, 256, 1.5, {12, 10}, {2, 3}));
}

void addAngles(Table& table) {
    const auto name = [](double tilt) {
        return std::string("tilt_") + (tilt < 0.0 ? "minus_" : "plus_") + std::to_string(std::lround(std::abs(tilt)));
    };
    const auto add = [&](Scene scene) {
        const double tilt = scene.families[0].angleDegrees;
        table.clean(name(tilt), "streets turned by " + std::to_string(std::lround(tilt)) + " degrees",
                    std::move(scene));
    };
    add(grid(1024, 1024, -12.0, {20, 24}, {3, 3}));
    add(withLightStreets(grid(800, 800, -9.0, {22, 16}, {2, 3})));
    add(grid(640, 640, -6.0, {14, 18}, {3, 2}));
    add(withLightStreets(grid(1024, 1024, -4.0, {30, 18}, {4, 3})));
    add(grid(1024, 1024, 5.0, {18, 30}, {3, 4}));
    add(withLightStreets(grid(640, 640, 7.0, {16, 22}, {2, 2})));
    add(grid(800, 800, 10.0, {24, 18}, {3, 3}));
    add(withLightStreets(grid(1024, 1024, 12.0, {26, 20}, {3, 3})));
}

void addOutOfSquare(Table& table) {
    table.clean("square_plus_2", "families 92 degrees apart", grid(1024, 1024, 0.0, {20, 26}, {3, 3}, 2.0));
    table.clean("square_minus_2", "families 88 degrees apart, tilted", grid(1024, 1024, 5.0, {18, 22}, {3, 3}, -2.0));
    table.clean("square_plus_1_oblong", "families 91 degrees apart, oblong",
                withLightStreets(grid(1280, 720, -2.5, {24, 20}, {2, 4}, 1.0)));
}

void addCounts(Table& table) {
    table.clean("count_1x1", "one street a direction", grid(512, 512, -1.8, {14, 20}, {1, 1}));
    table.clean("count_1x5", "one horizontal street, five vertical ones", grid(1024, 768, 0.8, {16, 24}, {1, 5}));
    table.clean("count_5x1_light", "five horizontal streets, one vertical one",
                withLightStreets(grid(768, 1024, -0.9, {26, 18}, {5, 1})));
    table.clean("count_5x5", "many narrow streets", grid(1024, 1024, 1.6, {12, 10}, {5, 5}));
    table.clean("count_2x4_light", "few and more", withLightStreets(grid(1024, 1024, -2.7, {36, 44}, {2, 4})));

    // The lone street's angle stays below half of the best score, so it gets the perpendicular of the others.
    table.hard("count_1x4_out_of_square", "a lone street out of square with four others",
               grid(1280, 768, -2.8, {12, 32}, {1, 4}, -1.8));

    Scene irregular = grid(1024, 1024, 1.2, {20, 16}, {3, 3});
    irregular.families[0].offsets = {-391.3, -88.8, 20.4, 355.7};
    irregular.families[1].offsets = {-402.6, 61.9, 301.2};
    table.clean("irregular_pitch", "dies of different sizes", irregular);

    Scene border = grid(1024, 1024, 1.2, {20, 24}, {3, 3});
    border.families[0].offsets = {-490.0, -160.0, 170.0, 500.0};
    border.families[1].offsets = {-495.0, -150.0, 195.0, 540.0};
    table.clean("streets_at_the_border", "streets that the border cuts: right where found, not asked for", border);
}

void addPicture(Table& table) {
    table.clean("contrast_45", "half the usual contrast", withContrast(grid(1024, 1024, 1.7, {20, 24}, {3, 3}), 45.0));
    table.clean("noise_6", "twice the usual noise", withNoise(grid(1024, 1024, -1.1, {24, 18}, {3, 3}), 6.0));
    table.clean("blur_2", "well out of focus", withBlur(grid(1024, 1024, 2.3, {20, 28}, {3, 3}), 2.0));

    Scene mixed = grid(1024, 1024, 1.4, {22, 18}, {3, 3});
    mixed.families[0].grey = 80.0;
    mixed.families[1].grey = 210.0;
    table.clean("dark_and_light", "dark horizontal streets, light vertical ones", mixed);

    Scene uneven = grid(1024, 1024, -1.9, {20, 26}, {3, 3});
    uneven.gradientX = 0.15;
    uneven.gradientY = -0.1;
    uneven.vignette = 0.1;
    table.clean("uneven_light", "illumination that falls off", uneven);

    Scene padded = grid(1000, 750, 1.5, {18, 22}, {3, 3});
    padded.rowPadding = 29;
    table.clean("padded_rows", "rows of 1029 bytes for 1000 pels", padded);

    table.hard("contrast_20", "low contrast", withContrast(grid(1024, 1024, 1.7, {20, 24}, {3, 3}), 20.0));
    table.hard("contrast_8_noise_5", "contrast little above the noise",
               withNoise(withContrast(grid(1024, 1024, -2.1, {24, 20}, {3, 3}), 8.0), 5.0));
    table.hard("noise_20", "strong noise", withNoise(grid(1024, 1024, 1.9, {20, 24}, {3, 3}), 20.0));
    table.hard("noise_40", "noise half as strong as the contrast",
               withNoise(grid(512, 512, 1.9, {18, 16}, {2, 2}), 40.0));
    table.hard("blur_5", "far out of focus", withBlur(grid(1024, 1024, -1.3, {20, 24}, {3, 3}), 5.0));
    table.hard("blur_and_noise", "out of focus and noisy",
               withNoise(withBlur(withContrast(grid(768, 768, 2.6, {24, 18}, {3, 2}), 40.0), 3.0), 10.0));
}

void addArtwork(Table& table) {
    table.clean("blocks_on_dies", "dies with faint blocks",
                withArtwork(grid(1024, 1024, 1.3, {20, 24}, {3, 3}), DieArtwork::blocks, StreetArtwork::none));
    table.clean("few_test_pads", "a row of test pads here and there",
                withArtwork(grid(1024, 1024, -1.5, {28, 24}, {3, 3}), DieArtwork::plain, StreetArtwork::fewPads));
    table.hard("many_test_pads", "streets full of test structures",
               withArtwork(grid(1024, 1024, 2.2, {28, 34}, {3, 3}), DieArtwork::blocks, StreetArtwork::manyPads));
    table.hard("circuits_dark", "finished dies between dark streets",
               withArtwork(grid(1024, 1024, 1.3, {24, 28}, {3, 3}), DieArtwork::circuit, StreetArtwork::none));
    table.hard("circuits_light", "finished dies between light streets",
               withArtwork(withLightStreets(grid(1024, 1024, -2.4, {16, 20}, {3, 4})), DieArtwork::circuit,
                           StreetArtwork::none));
    table.hard("wafer", "circuits, test structures and uneven light", [] {
        Scene scene =
            withArtwork(grid(1280, 960, 3.1, {20, 24}, {4, 4}, 0.6), DieArtwork::circuit, StreetArtwork::manyPads, 1.3);
        scene.gradientX = 0.05;
        scene.vignette = 0.05;
        return scene;
    }());
    table.hard(
        "wafer_2048", "the same, large",
        withArtwork(grid(2048, 2048, -1.3, {36, 30}, {4, 3}), DieArtwork::circuit, StreetArtwork::manyPads, 1.3));
    table.hard("wafer_dark", "streets little darker than busy dies",
               withArtwork(withContrast(grid(1024, 1024, 0.8, {24, 24}, {3, 3}), 30.0), DieArtwork::circuit,
                           StreetArtwork::fewPads, 1.2));
}

void addWidths(Table& table) {
    table.clean("width_8", "narrowest street asked of", grid(1024, 1024, 1.2, {8, 8}, {3, 3}));
    table.clean("width_60", "widest street asked of", withLightStreets(grid(1536, 1280, 1.8, {60, 52}, {2, 2})));
    table.clean("width_1_to_3", "one direction three times as wide", grid(1024, 1024, -0.7, {14, 42}, {3, 3}));
    table.hard("width_60_in_1024", "wider than 1/21 of the side", grid(1024, 1024, 1.3, {60, 56}, {2, 2}));
    table.hard("width_5", "narrower than those asked of", grid(512, 512, 1.3, {5, 6}, {3, 3}));
}

void addFrames(Table& table) {
    table.clean("client_half_unit", "0.5 client units per pel",
                inClientFrame(grid(1024, 1024, 1.3, {20, 28}, {3, 3}), ClientTransform::scaled(0.5)));
    table.clean("client_mirrored", "client y grows upwards",
                inClientFrame(grid(1024, 768, 2.4, {18, 30}, {3, 3}), mirroredInY(0.0, 768.0)));
    table.clean("client_rotated", "client frame turned by 3 degrees",
                inClientFrame(grid(1024, 1024, -1.6, {24, 18}, {3, 3}), ClientTransform::rotated(3.0, 120.0, -45.0)));
    table.clean("client_stage", "0.5 units per pel, turned by -4 degrees, far from the origin, oblong",
                inClientFrame(withLightStreets(grid(1280, 960, 2.0, {22, 30}, {3, 4})),
                              scaledAndRotated(0.5, -4.0, 250000.0, -130000.0)));
}

void addPolarities(Table& table) {
    table.hard("asked_dark", "dark asked for, dark streets", grid(1024, 1024, 1.3, {20, 24}, {3, 3}),
               AskedPolarity::dark);
    table.hard("asked_light", "light asked for, light streets",
               withLightStreets(grid(1024, 1024, -1.8, {26, 20}, {3, 3})), AskedPolarity::light);
    table.hard("asked_light_of_dark", "light asked for, dark streets: none is right",
               grid(1024, 1024, 1.3, {20, 24}, {3, 3}), AskedPolarity::light);
    table.hard("asked_dark_oblong", "dark asked for in an oblong image: streets beyond the shorter side are lost",
               grid(1600, 800, 1.3, {20, 24}, {3, 5}), AskedPolarity::dark);
    table.hard("asked_dark_tall", "the same, upright", grid(800, 1600, -1.3, {24, 20}, {5, 3}), AskedPolarity::dark);
}

Scene withCrossings(Scene scene, double grey) {
    scene.crossingGrey = grey;
    return scene;
}

/// Streets wide enough for the edge mode: 2.5 times the wider of the edge sharpness and two sample pels.
void addEdges(Table& table) {
    table.clean("edges_18x30", "unequal widths, both edges apart", grid(640, 640, 2.0, {18, 30}, {3, 3}));
    table.clean("edges_30x18_light", "the widths exchanged, light streets, leaning the other way",
                withLightStreets(grid(640, 640, -2.4, {30, 18}, {3, 2})));
    table.clean("edges_wide_image", "oblong, leaning right", grid(1280, 800, 1.6, {34, 28}, {3, 4}));
    table.clean("edges_tall_image", "oblong, leaning left", grid(800, 1280, -1.9, {28, 36}, {4, 3}));
    table.clean("edges_mirrored", "client y grows upwards",
                inClientFrame(grid(1024, 800, 2.4, {24, 34}, {3, 3}), mirroredInY(0.0, 800.0)));
    table.clean("edges_half_unit", "0.5 units per pel, unequal widths",
                inClientFrame(grid(1024, 1024, -1.3, {36, 24}, {3, 3}), ClientTransform::scaled(0.5)));
    table.clean(
        "edges_stage", "client frame turned by 3 degrees, far from the origin",
        inClientFrame(grid(1024, 1024, 1.1, {26, 32}, {3, 3}), scaledAndRotated(1.0, 3.0, 1000000.0, -700000.0)));
    table.clean("edges_running_through", "the streets' edges run through the crossings",
                withCrossings(grid(1024, 1024, 1.4, {24, 32}, {3, 3}), 8.0));
    table.clean("edges_running_through_light", "the same, light streets, leaning the other way",
                withCrossings(withLightStreets(grid(1024, 1024, -2.1, {34, 26}, {3, 3})), 250.0));
    table.hard("edges_broken_at_crossings", "crossings as bright as the dies: every edge ends there",
               withCrossings(grid(1024, 1024, 2.2, {28, 24}, {3, 3}), lightDie));
}

/// Square images with two equal widths, on which the calipers of the ridge mode are at their best.
void addEqualWidths(Table& table) {
    table.clean("equal_12", "narrow, leaning left", grid(640, 640, -1.1, {12, 12}, {3, 2}));
    table.clean("equal_14_tilted", "tilted by 7 degrees", grid(800, 800, 7.0, {14, 14}, {2, 3}));
    table.clean("equal_16_light", "light streets", withLightStreets(grid(768, 768, 2.3, {16, 16}, {3, 4})));
    table.clean("equal_24_light", "light streets", withLightStreets(grid(1536, 1536, 0.8, {24, 24}, {4, 3})));
    table.clean("equal_30", "tilted by -4.5 degrees", grid(1024, 1024, -4.5, {30, 30}, {3, 3}));
    table.clean("equal_40", "large camera", grid(2048, 2048, 1.7, {40, 40}, {4, 5}));
}

void addEmpties(Table& table) {
    table.empty("empty_uniform", "one grey level", withNoise(grid(512, 512, 0.0, {20, 20}, {0, 0}), 0.0));
    table.empty("empty_noise", "noise only", withNoise(grid(512, 512, 0.0, {20, 20}, {0, 0}), 8.0));
    table.empty("empty_noise_oblong", "noise only, oblong", withNoise(grid(1024, 640, 0.0, {18, 30}, {0, 0}), 4.0));

    Scene shaded = withNoise(grid(768, 768, 0.0, {20, 20}, {0, 0}), 2.0);
    shaded.gradientX = 0.2;
    shaded.vignette = 0.15;
    table.empty("empty_shaded", "uneven light only", shaded);

    table.empty("empty_circuit", "the inside of one die, no street",
                withArtwork(grid(1024, 1024, 1.0, {20, 20}, {0, 0}), DieArtwork::circuit, StreetArtwork::none));
}

std::vector<SceneRow> makeTable() {
    Table table;
    addSizes(table);
    addOblongs(table);
    addAngles(table);
    addOutOfSquare(table);
    addCounts(table);
    addPicture(table);
    addArtwork(table);
    addWidths(table);
    addFrames(table);
    addPolarities(table);
    addEdges(table);
    addEqualWidths(table);
    addEmpties(table);
    return table.take();
}

double vectorLength(const Point2& v) { return std::hypot(v.x, v.y); }

}  // namespace

const std::vector<SceneRow>& endToEndScenes() {
    static const std::vector<SceneRow> rows = makeTable();
    return rows;
}

const SceneRow& sceneRow(const std::string& name) {
    for (const SceneRow& row : endToEndScenes()) {
        if (row.name == name) return row;
    }
    throw std::out_of_range("no scene is called " + name);
}

RunParameters runParametersFor(const SceneRow& row) {
    const Scene& scene = row.scene;
    const ClientTransform& client = scene.clientFromImage;
    RunParameters run;
    run.widthX = vectorLength(client.mapVector({scene.families[1].widthPels, 0.0}));
    run.rangeXLow = 0.5 * run.widthX;
    run.rangeXHigh = 1.5 * run.widthX;
    run.widthY = vectorLength(client.mapVector({0.0, scene.families[0].widthPels}));
    run.rangeYLow = 0.5 * run.widthY;
    run.rangeYHigh = 1.5 * run.widthY;
    run.edgeSharpness = vectorLength(client.mapVector({5.0, 0.0}));
    run.polarity = row.polarity;
    run.maxResults = static_cast<long>(truthOf(scene).insideCount()) + 4;
    return run;
}

bool modeApplies(const SceneRow& row, RunMode mode) {
    if (mode != RunMode::edge) return true;
    constexpr double samplesPerSide = 246.0;
    constexpr double resolved = 4.0;
    const Scene& scene = row.scene;
    return scene.families[1].widthPels * samplesPerSide / static_cast<double>(scene.width) >= resolved &&
           scene.families[0].widthPels * samplesPerSide / static_cast<double>(scene.height) >= resolved;
}

bool isCleanRow(const SceneRow& row) {
    if (row.kind != RowKind::clean || row.polarity != AskedPolarity::any) return false;
    const auto shorter = static_cast<double>(std::min(row.scene.width, row.scene.height));
    if (shorter < 512.0) return false;
    return std::all_of(row.scene.families.begin(), row.scene.families.end(), [&](const StreetFamily& family) {
        return family.widthPels >= 8.0 && family.widthPels <= shorter / 21.0;
    });
}

bool isEdgeRow(const SceneRow& row) {
    if (!isCleanRow(row)) return false;
    // Both lengths in pels; the sharpness asked for is 5 pels.
    const double twoSamples = 2.0 * static_cast<double>(std::max(row.scene.width, row.scene.height)) / 246.0;
    const double narrowest = 2.5 * std::max(5.0, twoSamples);
    return std::all_of(row.scene.families.begin(), row.scene.families.end(),
                       [&](const StreetFamily& family) { return family.widthPels >= narrowest; });
}

bool isCaliperRow(const SceneRow& row) {
    const std::array<StreetFamily, 2>& families = row.scene.families;
    return isCleanRow(row) && row.scene.width == row.scene.height && families[0].widthPels == families[1].widthPels &&
           (families[0].grey < row.scene.dieGrey) == (families[1].grey < row.scene.dieGrey);
}

SceneRow withRightPolarity(SceneRow row) {
    const bool dark = row.scene.families[0].grey < row.scene.dieGrey;
    row.polarity = dark ? AskedPolarity::dark : AskedPolarity::light;
    return row;
}

}  // namespace qvtest

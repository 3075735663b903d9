#include <memory>
#include <sstream>

#include "qvstreet/platform/archive.h"
#include "qvstreet/qvstreet.h"
#include "tests/fuzz/fuzz_input.h"

// Any bytes load as an archive or end in the archive's own errors; and what has loaded can be stored, loaded again and
// stored to the same bytes.
//
// Layout of an input: the number of loads, one byte for the kind of each, the archive.

namespace {

using qvtest::FuzzInput;
using qvtest::require;

/// Loads or stores one value of each kind. Objects that it makes are kept, so that nothing is reached twice by chance.
struct Values {
    unsigned char byte = 0;
    std::int32_t whole = 0;
    std::uint32_t unsignedWhole = 0;
    std::wstring wide;
    std::string narrow;
    std::unique_ptr<qvPersistent> owned;
    std::shared_ptr<qvPersistent> shared;
    std::shared_ptr<qvPersistent> sharedAgain;
    qvStreetFinderDefs::BadParams finderError;
    qvStreetBlankRegionFinderDefs::BadParams blankError;
    qvArchive::UnknownVersion versionError;
    qvStreetFinderDefs::waferType mode = qvStreetFinderDefs::eEdgePairWafer;
    qvStreetBlankRegionFinderDefs::streetDirection direction = qvStreetBlankRegionFinderDefs::eHorizontal;

    void through(qvArchive& archive, char kind) {
        switch (static_cast<unsigned char>(kind) % 12) {
            case 0:
                archive || byte;
                break;
            case 1:
                archive || whole;
                break;
            case 2:
                archive || unsignedWhole;
                break;
            case 3:
                archive || wide;
                break;
            case 4:
                archive || narrow;
                break;
            case 5:
                throughPointer(archive);
                break;
            case 6:
                archive || shared;
                break;
            case 7:
                archive || sharedAgain;
                break;
            case 8:
                archive || static_cast<qvPersistent&>(finderError);
                break;
            case 9:
                archive || static_cast<qvPersistent&>(blankError);
                break;
            case 10:
                archive || static_cast<qvPersistent&>(versionError);
                break;
            default:
                archive || mode;
                archive || direction;
        }
    }

 private:
    void throughPointer(qvArchive& archive) {
        qvPersistent* object = owned.get();
        archive || object;
        if (archive.isLoading()) owned.reset(object);
    }
};

std::string stored(const std::string& kinds, Values& values) {
    std::ostringstream stream;
    qvArchive archive(stream);
    for (const char kind : kinds) values.through(archive, kind);
    return stream.str();
}

void run(FuzzInput input) {
    // Each kind once: a value that is loaded twice would be stored as it was the second time.
    std::string kinds;
    for (unsigned count = input.byte() % 9; count > 0; --count) {
        const char kind = static_cast<char>(input.byte() % 12);
        if (kinds.find(kind) == std::string::npos) kinds.push_back(kind);
    }
    Values first;
    try {
        std::istringstream stream(input.rest());
        qvArchive archive(stream);
        for (const char kind : kinds) first.through(archive, kind);
    } catch (const qvArchive::Errors&) {
        return;
    }
    // From here on an error of the archive is a finding as well.
    const std::string once = stored(kinds, first);
    Values second;
    {
        std::istringstream stream(once);
        qvArchive archive(stream);
        for (const char kind : kinds) second.through(archive, kind);
        require(stream.peek() == std::char_traits<char>::eof(), "loading takes all that storing wrote");
    }
    require(stored(kinds, second) == once, "a loaded archive stores to the same bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    run(FuzzInput(data, size));
    return 0;
}

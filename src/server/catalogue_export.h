// server/catalogue_export.h: a catalogue written as plain files, for any host that serves files. Any thread.
// foundation/static_catalogue.h has the files that stand for requests; the other addresses are files of the same
// names. Votes and mails need a server.
#pragma once

#include <cstddef>
#include <string>

#include "platform/result.h"
#include "server/catalogue_store.h"

namespace morvane {

struct CatalogueExport {
    std::string folder;  ///< made when missing, with its parents; else empty, or of an earlier export
    std::string live =
        {};  ///< base address of a server that takes votes and mails, for the players' programs
};

struct ExportedCatalogue {
    std::size_t ports = 0;
    std::size_t written = 0, unchanged = 0, removed = 0;  ///< files
};

/// Writes what the store holds now. A file that is the same already is left alone, with its date. Files come
/// before the lists that name them, and what an earlier export wrote and this one does not goes last: whoever
/// reads meanwhile finds whatever he is told of. After a kill or a failure, another run completes it.
/// A failure, with nothing changed, when the folder holds what no export has written, or another export runs.
[[nodiscard]] Result<ExportedCatalogue> exportCatalogue(const CatalogueStore& store,
                                                        const CatalogueExport& to);

}  // namespace morvane

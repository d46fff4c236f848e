#include "kvlnmov/journal/sii_book.h"

#include <map>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {

namespace {
std::map<std::int16_t, SiiInvoiceBookFactory>& factories() {
    static std::map<std::int16_t, SiiInvoiceBookFactory> registered;
    return registered;
}
}  // namespace

void registerSiiInvoiceBook(std::int16_t bookType, SiiInvoiceBookFactory factory) {
    if (factory) {
        factories()[bookType] = std::move(factory);
    } else {
        factories().erase(bookType);
    }
}

std::shared_ptr<SiiInvoiceBook> createSiiInvoiceBook(std::int16_t bookType) {
    auto found = factories().find(bookType);
    std::shared_ptr<SiiInvoiceBook> book;
    if (found != factories().end()) book = found->second();
    if (!book) {
        throw Error(errc::kCantCreateObject, kRuntimeSource,
                    "ActiveX component can't create object");
    }
    return book;
}

void clearSiiInvoiceBooks() { factories().clear(); }

}  // namespace kvlnmov

// Creates a company database in the file given, posts a two-line entry through the journal
// classes and prints the running balance of both accounts, with nothing but the installed
// package: its headers, its CMake target and the C++20 the target asks for.

#include <iostream>
#include <memory>
#include <string>
#include <tuple>

#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/version.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: post_entry FILE\n";
        return 2;
    }
    try {
        auto connection = kvlnmov::db::openConnection(std::string("Provider=SQLite;Data Source=") +
                                                      argv[1]);
        kvlnmov::seedCompany(*connection, kvlnmov::CompanySeed{});
        auto context = std::make_shared<kvlnmov::EmpresaContext>(connection, 1, 2026);

        auto entry = std::make_shared<kvlnmov::clsAsiento>();
        entry->Conexion(connection);
        entry->cEmpresa(context);
        entry->Fecha(kvlnmov::Date::ymd(2026, 3, 2));
        entry->Insertar();
        for (auto [account, debit, credit] : {std::tuple{"43000001", "1210", "0"},
                                              std::tuple{"70000001", "0", "1210"}}) {
            auto line = std::make_shared<kvlnmov::clsMov>();
            line->cEmpresa(context);
            line->Asiento(entry->Codigo());
            line->Fecha_Asiento(entry->Fecha());
            line->Fecha(entry->Fecha());
            line->Cuenta(account);
            line->Debe(*kvlnmov::Currency::parse(debit));
            line->Haber(*kvlnmov::Currency::parse(credit));
            line->Insertar();
        }

        std::cout << "kvlnmov " << KVLNMOV_VERSION_STRING << ": entry " << entry->Codigo()
                  << "\n";
        kvlnmov::db::Recordset balances;
        balances.Open("SELECT Cuenta, D3, H3 FROM Acumulados WHERE Cuenta IN ('43000001', "
                      "'70000001') ORDER BY Cuenta",
                      connection);
        for (; !balances.Eof(); balances.MoveNext()) {
            std::cout << balances.Fields("Cuenta").toText() << " "
                      << balances.Fields("D3").toCurrency().toString() << " "
                      << balances.Fields("H3").toCurrency().toString() << "\n";
        }
        balances.Close();
    } catch (const kvlnmov::Error& error) {
        std::cerr << "Error " << error.number() << " (" << error.source()
                  << "): " << error.description() << "\n";
        return 1;
    }
    return 0;
}

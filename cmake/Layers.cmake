# The layers of the library, bottom to top: for each, the folders it is made of, the layers
# it uses (what its files may include, directly or through those layers' own uses), and the
# layers whose private headers (under src/) it may include besides its own. The test
# kvlnmov_layers (cmake/CheckLayers.cmake) fails on any include against this map;
# ARCHITECTURE.md draws it.

set(KVLNMOV_LAYERS frame schema db sqlite odbc odbc_sqlite providers core
    masters journal taxbooks forecasts users viewer registration capi scenario apps)

set(KVLNMOV_LAYER_frame_PATHS src/frame include/kvlnmov/frame include/kvlnmov/version.h)
set(KVLNMOV_LAYER_schema_PATHS src/schema include/kvlnmov/schema)
set(KVLNMOV_LAYER_schema_USES frame)
set(KVLNMOV_LAYER_db_PATHS src/db include/kvlnmov/db)
set(KVLNMOV_LAYER_db_USES frame)
set(KVLNMOV_LAYER_sqlite_PATHS src/db/sqlite)
set(KVLNMOV_LAYER_sqlite_USES db schema)
set(KVLNMOV_LAYER_sqlite_PRIVATE db)
set(KVLNMOV_LAYER_odbc_PATHS src/db/odbc)
set(KVLNMOV_LAYER_odbc_USES db schema)
set(KVLNMOV_LAYER_odbc_PRIVATE db)
# The ODBC provider's dialect seam: the one place where it meets the translator.
set(KVLNMOV_LAYER_odbc_sqlite_PATHS src/db/odbc_sqlite)
set(KVLNMOV_LAYER_odbc_sqlite_USES odbc sqlite)
set(KVLNMOV_LAYER_odbc_sqlite_PRIVATE db odbc sqlite)
set(KVLNMOV_LAYER_providers_PATHS src/db/open)
set(KVLNMOV_LAYER_providers_USES odbc_sqlite)
set(KVLNMOV_LAYER_providers_PRIVATE sqlite odbc odbc_sqlite)
set(KVLNMOV_LAYER_core_PATHS src/core include/kvlnmov/core)
set(KVLNMOV_LAYER_core_USES db)
set(KVLNMOV_LAYER_masters_PATHS src/masters include/kvlnmov/masters)
set(KVLNMOV_LAYER_masters_USES core)
# journal and taxbooks use each other: the one cycle, declared in src/CMakeLists.txt.
set(KVLNMOV_LAYER_journal_PATHS src/journal include/kvlnmov/journal)
set(KVLNMOV_LAYER_journal_USES core taxbooks)
set(KVLNMOV_LAYER_taxbooks_PATHS src/taxbooks include/kvlnmov/taxbooks)
set(KVLNMOV_LAYER_taxbooks_USES core journal)
set(KVLNMOV_LAYER_forecasts_PATHS src/forecasts include/kvlnmov/forecasts)
set(KVLNMOV_LAYER_forecasts_USES core)
set(KVLNMOV_LAYER_users_PATHS src/users include/kvlnmov/users)
set(KVLNMOV_LAYER_users_USES core)
set(KVLNMOV_LAYER_viewer_PATHS src/viewer include/kvlnmov/viewer)
set(KVLNMOV_LAYER_viewer_USES users)
set(KVLNMOV_LAYER_registration_PATHS src/registration include/kvlnmov/registration)
set(KVLNMOV_LAYER_registration_USES masters journal taxbooks forecasts users viewer)
# The C interface: its folder and its one public header.
set(KVLNMOV_LAYER_capi_PATHS src/capi include/kvlnmov/kvlnmov.h)
set(KVLNMOV_LAYER_capi_USES registration providers)
set(KVLNMOV_LAYER_scenario_PATHS src/scenario include/kvlnmov/scenario)
set(KVLNMOV_LAYER_scenario_USES registration providers)
set(KVLNMOV_LAYER_apps_PATHS apps)
set(KVLNMOV_LAYER_apps_USES scenario)

#pragma once
#include "store/detail/Statement.h"

namespace qsml::detail {

/// The statements of one connection, each prepared when first used.
struct RowStatements {
    Statement begin{"BEGIN"};
    Statement beginImmediate{"BEGIN IMMEDIATE"};
    Statement commit{"COMMIT"};
    Statement rollback{"ROLLBACK"};

    Statement state{"SELECT data FROM yap WHERE extension='' AND key='state'"};
    Statement setState{"UPDATE yap SET data=?1 WHERE extension='' AND key='state'"};
    Statement setting{"SELECT data FROM yap WHERE extension=?1 AND key=?2"};
    Statement settings{"SELECT key, data FROM yap WHERE extension=?1"};
    Statement setSetting{"INSERT OR REPLACE INTO yap(extension, key, data) VALUES(?1, ?2, ?3)"};
    Statement removeSetting{"DELETE FROM yap WHERE extension=?1 AND key=?2"};
    Statement removeSettings{"DELETE FROM yap WHERE extension=?1"};
    Statement storedExtensions{
        "SELECT DISTINCT extension FROM yap WHERE extension<>'' AND key='#kind'"};
    Statement tables{
        "SELECT name, sql LIKE 'CREATE VIRTUAL%' FROM sqlite_master WHERE type='table'"};

    Statement collectionByName{"SELECT id, name FROM collection WHERE name=?1"};
    Statement collectionById{"SELECT id, name FROM collection WHERE id=?1"};
    Statement insertCollection{"INSERT INTO collection(name) VALUES(?1)"};
    Statement collections{
        "SELECT id, name FROM collection WHERE EXISTS(SELECT 1 FROM row WHERE row.rowid"
        " BETWEEN (id << 40) AND (id << 40 | 1099511627775)) ORDER BY id"};

    Statement rowByKey{
        "SELECT rowid, data, metadata, checksum FROM row WHERE collection=?1 AND key=?2"};
    Statement rowidByKey{"SELECT rowid FROM row WHERE collection=?1 AND key=?2"};
    Statement rowByRowid{
        "SELECT rowid, data, metadata, checksum, key, collection FROM row WHERE rowid=?1"};
    Statement keyByRowid{"SELECT key FROM row WHERE rowid=?1"};
    Statement insertRow{
        "INSERT INTO row(rowid, collection, key, data, metadata, checksum)"
        " VALUES(?1, ?2, ?3, ?4, ?5, ?6)"};
    Statement updateRow{"UPDATE row SET data=?2, metadata=?3, checksum=?4 WHERE rowid=?1"};
    Statement deleteRow{"DELETE FROM row WHERE rowid=?1"};

    Statement countInCollection{"SELECT count(*) FROM row WHERE collection=?1"};
    Statement countAll{"SELECT count(*) FROM row"};
    Statement keysInCollection{"SELECT rowid, key FROM row WHERE collection=?1"};
    Statement rowsInRange{
        "SELECT rowid, data, metadata, checksum, key, collection FROM row"
        " WHERE rowid BETWEEN ?1 AND ?2 ORDER BY rowid"};

    /// Before the connection closes.
    void finalize() {
        for (Statement* statement : {&begin,
                                     &beginImmediate,
                                     &commit,
                                     &rollback,
                                     &state,
                                     &setState,
                                     &setting,
                                     &settings,
                                     &setSetting,
                                     &removeSetting,
                                     &removeSettings,
                                     &storedExtensions,
                                     &tables,
                                     &collectionByName,
                                     &collectionById,
                                     &insertCollection,
                                     &collections,
                                     &rowByKey,
                                     &rowidByKey,
                                     &rowByRowid,
                                     &keyByRowid,
                                     &insertRow,
                                     &updateRow,
                                     &deleteRow,
                                     &countInCollection,
                                     &countAll,
                                     &keysInCollection,
                                     &rowsInRange})
            statement->finalize();
    }
};

}  // namespace qsml::detail

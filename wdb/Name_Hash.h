// Hash and equality of names for tables whose order nobody sees.
//
//     Hash_Table<const char*, WDB_Node*> nodes(name_hash, name_equal);
//
// Names come from files that anybody may have written, and a table compares the keys of one hash
// one after the other. So all bytes count alike, and a secret of the process goes in: which names
// share a hash differs from run to run.
#ifndef WDB_NAME_HASH_H
#define WDB_NAME_HASH_H

unsigned int name_hash(const char* const& name);
bool name_equal(const char* const& a, const char* const& b);

#endif

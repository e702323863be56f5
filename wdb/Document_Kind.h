// What a document may be that is no scene, by how it begins.
//
//     std_tell(str_format("it looks like %s", document_kind(line)));
//
// Internal.
#ifndef WDB_DOCUMENT_KIND_H
#define WDB_DOCUMENT_KIND_H

// With an article, such as "a PNG image"; for what nobody knows, "text" or "binary data".
const char* document_kind(const char* beginning);

#endif

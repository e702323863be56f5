// What a document may be that is no scene, by how it begins.
//
//     std_tell(str_format("it looks like %s", document_kind(line, has_zeros)));
//
// Internal.
#ifndef WDB_DOCUMENT_KIND_H
#define WDB_DOCUMENT_KIND_H

// With an article, such as "a PNG image"; for what nobody knows, "text" or "binary data".
// `goes_on` tells that the beginning ends at a byte that is zero, which is of the document.
const char* document_kind(const char* beginning, bool goes_on);

#endif

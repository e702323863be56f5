// The box of a node in the world. Internal.
#ifndef WDB_WORLD_BOX_H
#define WDB_WORLD_BOX_H

#include "wdb/WDB_Node.h"

// Computed at each use: kept in the node, it would be one more thing to renew at each change.
inline Bbox world_box(const WDB_Node* node) {
    return node->get_bbox().transformed_by(node->get_transform());
}

#endif

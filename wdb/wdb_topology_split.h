// Cuts triangle lists of a world into their connected pieces.
//
//     wdb_topology_split(world);       // each piece is now a shape with a place of its own
//
// Each shape whose only level of detail is a triangle list of several pieces is replaced by one
// copy of its node for each piece, of the same name, transform, material and texture, with an equal
// URL of its own. A copy is a WDB_Camera, a WDB_Light or a WDB_Node, also of a node of a class
// derived from these. Copies of lights are on; copies of cameras have no eye distance. Lists that
// several nodes show are cut once, and the parts are shared as the list was. The lists themselves
// stay as they are; parts bear their names.
//
// Two triangles are connected if at least two corners of one are corners of the piece that the
// other belongs to, where corners are equal in the sense of pnt_equal. In a part the triangles
// stand in the order of joining: a piece begins with the first triangle that is left, and then
// the triangles that are left are gone through from first to last, each joining if it is
// connected to those that have joined so far, and once more from the first until none joins.
// Progress is reported as information (std/Std_Assert.h) for each list, each time through, each
// part and each node.
//
// Cost: in proportion to the triangles times their logarithm, also where many pieces meet at one
// corner. Of pieces that meet at many such corners without sharing an edge, each looks at those
// corners with as many triangles as it has itself. Triangles with tangled corners (see
// wdb/Corner_Groups.h) are tested again each time through in which a near corner joined: a large
// tangled cloud with all its triangles for each piece in it.
// Requires: no traversal of the world is under way.
#ifndef WDB_WDB_TOPOLOGY_SPLIT_H
#define WDB_WDB_TOPOLOGY_SPLIT_H

class WDB_Database;

void wdb_topology_split(WDB_Database& world);

#endif

#include "wdb/WDB_Listener.h"

void WDB_Listener::put(WDB_Database&, WDB_Node&) {}
void WDB_Listener::removed(WDB_Database&, WDB_Node&) {}
void WDB_Listener::moved(WDB_Database&, WDB_Node&) {}
void WDB_Listener::geometry_changed(WDB_Database&, WDB_Node&) {}
void WDB_Listener::material_changed(WDB_Database&, WDB_Node&) {}
void WDB_Listener::texture_changed(WDB_Database&, WDB_Node&) {}
void WDB_Listener::otherwise_changed(WDB_Database&, WDB_Node&) {}

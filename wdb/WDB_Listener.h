// Who is told of the changes of a world: a renderer that keeps a copy on the graphics card, an
// editor that lists the nodes.
//
//     class Renderer : public WDB_Listener {
//         void put(WDB_Database&, WDB_Node& node) override { upload(node); }
//         void moved(WDB_Database&, WDB_Node& node) override { set_matrix(node); }
//         ...
//     };
//     world->add_listener(&renderer);
//
// Each operation is called after the change, once it is wholly done, by the thread that made it. A
// listener may ask the world and its nodes whatever it likes, and change other objects. A change of
// the world itself, of one of its nodes, or of its listeners is a fatal report: those told later
// would hear of what is no more so. A pick may add a default camera; see
// WDB_Database::prepare_queries.
//
// Not told, as nobody can know which nodes show it: a change of a material, of a texture's picture,
// and of a geometry for which nobody calls WDB_Node::update_after_geometry_change. Their stamps,
// and PX_Map::get_change_count, tell of that. Nor is it told that a light was switched. Of the
// assignment of one node to another, only that it may have another name.
#ifndef WDB_WDB_LISTENER_H
#define WDB_WDB_LISTENER_H

class WDB_Database;
class WDB_Node;

// All do nothing unless overridden.
class WDB_Listener {
public:
    virtual ~WDB_Listener() = default;

    // The node has come. If by WDB_Node::set_world, its update_after_world_change is yet to come.
    virtual void put(WDB_Database& world, WDB_Node& node);

    // The node has gone: its world is null. By WDB_Database::wipe_out all have, and still name the
    // world; nodes without geometry are told first, then the shapes, those outside the bounds last.
    virtual void removed(WDB_Database& world, WDB_Node& node);

    // It has another transform, or was put again.
    virtual void moved(WDB_Database& world, WDB_Node& node);

    // It has other levels of detail, or one of them was edited, as update_after_geometry_change
    // says. Its box may have changed.
    virtual void geometry_changed(WDB_Database& world, WDB_Node& node);

    // It has another material, or another texture.
    virtual void material_changed(WDB_Database& world, WDB_Node& node);
    virtual void texture_changed(WDB_Database& world, WDB_Node& node);

    // It has another name or URL; a camera another projection or eye distance; a light another
    // angle.
    virtual void otherwise_changed(WDB_Database& world, WDB_Node& node);
};

#endif

#include "wdb/Glb_Scene.h"

#include <algorithm>
#include <cmath>

#include "images/PX_Map.h"

namespace {
bool count_one(SUniv* count, const WDB_Node*, const Bbox&) {
    ++*Conv<int*>::from_univ(count);
    return false;
}

// No object has the number 0.
long id_of(const WDB_Obj* object) {
    return object ? object->get_instance_id() : 0;
}

long pair_of(long a, long b) {
    const int bits = 32;
    return a << bits | b;
}

// The number under the key, from `make` if there is none yet.
template<class Make>
int number_of(Hash_Table<long, int>& table, long key, Make make) {
    if (table.find(key)) return *table.found_item();
    const int number = make();
    table.put(number, key);
    return number;
}

bool has_numbers(const HFrame& place) {
    for (int i = 0; i < 16; ++i)
        if (!std::isfinite(place.to_c()[i])) return false;
    return true;
}

bool is_view(const WDB_Node& node) {
    return WDB_Camera::is_instance(&node) || WDB_Light::is_instance(&node);
}

bool can_be_instance(const WDB_Node& node) {
    const HFrame& place = node.get_transform();
    return node.lod_count() > 0 && !is_view(node) && Glb_Scene::is_decomposable(place) &&
           Glb_Instances::is_place(place);
}
} // namespace

bool Glb_Scene::is_decomposable(const HFrame& place) {
    const double slack = 1e-6;
    const Vector4* const rows[] = {&place[0], &place[1], &place[2]};
    const auto product = [&](int i, int k) {
        double sum = 0;
        for (int c = 0; c < 3; ++c)
            sum += static_cast<double>((*rows[i])[c]) * static_cast<double>((*rows[k])[c]);
        return sum;
    };
    for (int i = 0; i < 3; ++i) {
        const int k = (i + 1) % 3;
        const double lengths = std::sqrt(product(i, i) * product(k, k));
        if (!(lengths > 0) || !(std::fabs(product(i, k)) <= slack * lengths)) return false;
    }
    return true;
}

bool Glb_Scene::is_kept(const WDB_Node& node) {
    return node.get_transform().is_affine() && has_numbers(node.get_transform());
}

bool Glb_Scene::is_moved_along(const WDB_Node& node) {
    return node.lod_count() > 0 && !is_view(node) && !is_decomposable(node.get_transform());
}

void Glb_Scene::expect_instances() {
    if (!options_.has_instances) return;
    for_each([&](const WDB_Node& node) {
        if (!can_be_instance(node)) return;
        const int mesh = mesh_of(node, *node.get_geometry());
        if (mesh != none) instances_.expect(mesh);
    });
    instances_.lay_out();
}

int Glb_Scene::instanced_mesh(const WDB_Node& node) {
    if (instances_.place_count() == 0 || !can_be_instance(node)) return none;
    const int mesh = mesh_of(node, *node.get_geometry());
    return instances_.has(mesh) ? mesh : none;
}

void Glb_Scene::collect(const WDB_Node& node) {
    const int instanced = instanced_mesh(node);
    if (instanced != none) {
        nodes_ += instances_.put(instanced, node.get_transform());
        return;
    }
    ++nodes_;
    losses_.shears += !is_moved_along(node) && !is_decomposable(node.get_transform());
    for (int i = 0; i < node.lod_count(); ++i) mesh_of(node, *node.lod_item(i));
    levels_ += std::max(node.lod_count() - 1, 0);
    if (const WDB_Camera* const camera = WDB_Camera::const_castdown(&node)) {
        if (camera->get_projection().is_std_perspective()) {
            cameras_.insert_last(camera);
        } else {
            ++losses_.views;
        }
    }
    if (const WDB_Light* const light = WDB_Light::const_castdown(&node)) lights_.insert_last(light);
}

int Glb_Scene::shape_of(const WDB_Node& node, const WDB_Geometry& geometry) {
    const bool is_moved = is_moved_along(node);
    const auto add = [&] {
        const int shape =
            data_.add_mesh(geometry, is_moved ? node.get_transform() : HFrame::identity(),
                           textured_.has(id_of(&geometry)), &losses_.items);
        losses_.geometries += shape == none;
        return shape;
    };
    return is_moved ? number_of(moved_shapes_, pair_of(id_of(&node), id_of(&geometry)), add)
                    : number_of(shapes_, id_of(&geometry), add);
}

void Glb_Scene::store_instances() {
    if (instances_.place_count() == 0) return;
    instance_views_ = data_.add_numbers(instances_.moves());
    data_.add_numbers(instances_.turns());
    data_.add_numbers(instances_.scales());
}

int Glb_Scene::look_of(const WDB_Node& node, bool has_colors) {
    const WDB_Texture* texture = node.get_texture();
    if (texture && texture->get_image()) {
        const int picture = number_of(picture_numbers_, id_of(texture), [&] {
            const int view = data_.add_picture(*texture->get_image());
            if (view == none) return none;
            pictures_.insert_last(view);
            return pictures_.count() - 1;
        });
        if (picture == none) texture = nullptr;
    } else {
        texture = nullptr;
    }
    const Look look = {node.get_material(), texture, has_colors};
    const long key = pair_of(id_of(look.material), id_of(look.texture)) * 2 + has_colors;
    return number_of(look_numbers_, key, [&] {
        looks_.insert_last(look);
        return looks_.count() - 1;
    });
}

int Glb_Scene::mesh_of(const WDB_Node& node, const WDB_Geometry& geometry) {
    const int shape = shape_of(node, geometry);
    if (shape == none) return none;
    const int look = look_of(node, data_.shapes()[static_cast<std::size_t>(shape)].has_colors);
    return number_of(mesh_numbers_, pair_of(shape, look), [&] {
        meshes_.insert_last({&geometry, shape, look});
        return meshes_.count() - 1;
    });
}

int Glb_Scene::picture_of(const WDB_Texture& texture) {
    picture_numbers_.find(id_of(&texture));
    return *picture_numbers_.found_item();
}

void Glb_Scene::collect() {
    for_each([&](const WDB_Node& node) {
        for (int i = 0; i < node.lod_count() && node.get_texture(); ++i)
            textured_.put(id_of(node.lod_item(i)));
    });
    expect_instances();
    const auto collect_kept = [&](const WDB_Node& node, const Bbox& box) {
        if (is_kept(node)) {
            collect(node);
            if (node.lod_count() > 0) shown_.merge(box);
        } else {
            ++losses_.places;
        }
    };
    world_.for_each_node(collect_kept);
    world_.for_each_shape(collect_kept);
    world_.apply_to_shapes_outside(Conv<int*>::to_univ(&losses_.outside), count_one);
    store_instances();
}

#include "vorta/virtual/objfile.h"
#include "vorta/virtual/scene.h"
#include "vorta/yaml/words.h"
#include "vorta/yaml/yamlmap.h"

#include <algorithm>
#include <map>
#include <string>

namespace Vorta::Virtual {

namespace {

using Materials = std::map<std::string, Material, std::less<>>;

constexpr Limits reflectance{.minimum = 0.0, .maximum = 1.0};
constexpr Limits brightness{.minimum = 0.0, .maximum = 1000.0};
constexpr Limits lengthMm{.minimum = 1e-3, .maximum = 1e5};

Colour readColour(const YamlMap& yaml, std::string_view key, Colour fallback, Limits limits) {
    const std::vector<double> v = yaml.numbers(key, {fallback[0], fallback[1], fallback[2]}, limits, true);
    return {v[0], v[1], v[2]};
}

Vec3 readVector(const YamlMap& yaml, std::string_view key, Vec3 fallback) {
    const std::vector<double> v = yaml.numbers(key, {fallback.x, fallback.y, fallback.z});
    return {v[0], v[1], v[2]};
}

Pose readPose(const YamlMap& yaml) {
    return {readVector(yaml, "position", {}), Rotation::fromDegrees(readVector(yaml, "rotation", {}))};
}

Texture readTexture(const YamlMap& yaml) {
    // In the order of Texture::Kind.
    static constexpr std::array<std::string_view, 6> kinds{"checker", "stripes", "dots", "noise", "wood", "marble"};
    if (!yaml.has("kind"))
        yaml.fail("a texture needs a 'kind'.");
    Texture texture;
    texture.kind = static_cast<Texture::Kind>(yaml.choice("kind", 0, kinds));
    texture.sizeMm = yaml.number("size", texture.sizeMm, lengthMm);
    texture.albedo = readColour(yaml, "albedo", texture.albedo, reflectance);
    yaml.finish();
    return texture;
}

Material readMaterial(const YamlMap& yaml) {
    Material material;
    material.albedo = readColour(yaml, "albedo", material.albedo, reflectance);
    material.specular = yaml.number("specular", material.specular, reflectance);
    material.roughness = yaml.number("roughness", material.roughness, {.minimum = 0.02, .maximum = 1.0});
    material.metal = yaml.flag("metal", material.metal);
    if (const auto texture = yaml.map("texture"))
        material.texture = readTexture(*texture);
    yaml.finish();
    return material;
}

Mesh makePlane(double width, double height) {
    const double x = 0.5 * width;
    const double y = 0.5 * height;
    return {.vertices = {{-x, -y, 0}, {x, -y, 0}, {x, y, 0}, {-x, y, 0}}, .triangles = {{0, 1, 2}, {0, 2, 3}}};
}

Mesh makeBox(Vec3 size) {
    Mesh box;
    for (unsigned corner = 0; corner < 8; ++corner)
        box.vertices.push_back({(corner & 1U ? 0.5 : -0.5) * size.x, (corner & 2U ? 0.5 : -0.5) * size.y,
                                (corner & 4U ? 0.5 : -0.5) * size.z});
    box.triangles = {{0, 1, 3}, {0, 3, 2}, {4, 5, 7}, {4, 7, 6}, {0, 1, 5}, {0, 5, 4},
                     {2, 3, 7}, {2, 7, 6}, {0, 2, 6}, {0, 6, 4}, {1, 3, 7}, {1, 7, 5}};
    return box;
}

Mesh readInlineMesh(const YamlMap& yaml) {
    Mesh mesh;
    const std::vector<double> coordinates = yaml.table("vertices", 3);
    for (std::size_t i = 0; i + 2 < coordinates.size(); i += 3)
        mesh.vertices.push_back({coordinates[i], coordinates[i + 1], coordinates[i + 2]});
    const std::vector<double> corners = yaml.table("triangles", 3);
    if (corners.empty())
        yaml.fail("triangles", "a mesh needs at least one triangle.");
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        std::array<std::uint32_t, 3> triangle{};
        for (std::size_t k = 0; k < 3; ++k) {
            const double corner = corners[i + k];
            if (corner < 0.0 || corner >= static_cast<double>(mesh.vertices.size()) || corner != std::floor(corner))
                yaml.fail("triangles", "triangle " + std::to_string(i / 3) +
                                           " names a vertex that is not there; they "
                                           "count from 0 to " +
                                           std::to_string(mesh.vertices.size()) + " exclusive.");
            triangle[k] = static_cast<std::uint32_t>(corner);
        }
        mesh.triangles.push_back(triangle);
    }
    return mesh;
}

Mesh readMesh(const YamlMap& yaml) {
    const std::string file = yaml.text("file", "");
    const double scale = yaml.number("scale", 1.0, {.minimum = 1e-6, .maximum = 1e6});
    if (file.empty() && yaml.has("scale"))
        yaml.fail("scale", "'scale' belongs to a mesh from a file.");
    Mesh mesh = file.empty() ? readInlineMesh(yaml) : loadObj(yaml.file().parent_path() / file, scale);
    mesh.smooth = yaml.flag("smooth", false);
    yaml.finish();
    return mesh;
}

std::variant<Sphere, Mesh> readShape(const YamlMap& yaml) {
    const auto sphere = yaml.map("sphere");
    const auto box = yaml.map("box");
    const auto plane = yaml.map("plane");
    const auto mesh = yaml.map("mesh");
    if (sphere.has_value() + box.has_value() + plane.has_value() + mesh.has_value() != 1)
        yaml.fail("an object must be exactly one of sphere, box, plane, mesh.");
    if (mesh)
        return readMesh(*mesh);
    if (sphere) {
        const Sphere shape{.radiusMm = sphere->number("radius", 50.0, lengthMm)};
        sphere->finish();
        return shape;
    }
    const YamlMap& sized = box ? *box : *plane;
    const std::vector<double> size =
        box ? sized.numbers("size", {100, 100, 100}, lengthMm) : sized.numbers("size", {10'000, 10'000}, lengthMm);
    sized.finish();
    return box ? makeBox({size[0], size[1], size[2]}) : makePlane(size[0], size[1]);
}

Object readObject(const YamlMap& yaml, const Pose& frame, const Materials& materials) {
    Object object{.shape = readShape(yaml), .pose = frame * readPose(yaml), .material = {}};
    if (yaml.isMap("material")) {
        object.material = readMaterial(*yaml.map("material"));
    } else if (const std::string name = yaml.text("material", ""); !name.empty()) {
        const auto found = materials.find(name);
        if (found == materials.end())
            yaml.fail("material", "there is no material " + inQuotes(name) + " in this file.");
        object.material = found->second;
    }
    object.moving = yaml.flag("moving", object.moving);
    yaml.finish();
    return object;
}

Vec3 readDirection(const YamlMap& yaml, std::string_view key, Vec3 fallback) {
    const Vec3 direction = readVector(yaml, key, fallback);
    if (length(direction) == 0.0)
        yaml.fail(key, inQuotes(key) + " must be a direction other than 0.");
    return normalized(direction);
}

void readAmbient(const YamlMap& yaml, Scene& scene) {
    scene.ambientLevel = yaml.number("level", scene.ambientLevel, brightness);
    scene.ambientColour = readColour(yaml, "colour", scene.ambientColour, brightness);
    if (yaml.has("from"))
        scene.ambientDirection = readDirection(yaml, "from", {});
    yaml.finish();
}

Turntable readMotion(const YamlMap& yaml, const Pose& frame) {
    const auto map = yaml.map("turntable");
    if (!map)
        yaml.fail("a motion needs a 'turntable'.");
    if (!map->has("degreesPerCapture"))
        map->fail("a turntable needs 'degreesPerCapture'.");
    const Turntable turntable{.axis = frame.rotation * readDirection(*map, "axis", {0.0, 0.0, 1.0}),
                              .centre = frame.toOuter(readVector(*map, "centre", {})),
                              .degreesPerCapture =
                                  map->number("degreesPerCapture", 0.0, {.minimum = -180.0, .maximum = 180.0})};
    map->finish();
    yaml.finish();
    return turntable;
}

void checkMotion(const YamlMap& yaml, const Scene& scene) {
    const bool moves = std::ranges::any_of(scene.objects, [](const Object& object) { return object.moving; });
    if (moves && !scene.turntable)
        yaml.fail("objects", "an object is 'moving' but the scene has no 'motion'.");
    if (scene.turntable && !moves)
        yaml.fail("motion", "nothing moves: no object is marked 'moving: true'.");
}

} // namespace

Scene loadScene(const std::filesystem::path& file) {
    const YamlMap yaml = YamlMap::load(file);
    Scene scene;
    if (const auto ambient = yaml.map("ambient"))
        readAmbient(*ambient, scene);
    scene.background = readColour(yaml, "background", scene.background, brightness);
    Pose frame;
    if (const auto placement = yaml.map("frame")) {
        frame = readPose(*placement);
        placement->finish();
        if (scene.ambientDirection)
            scene.ambientDirection = frame.rotation * *scene.ambientDirection;
    }
    Materials materials;
    for (const auto& [name, entry] : yaml.namedMaps("materials"))
        materials.emplace(name, readMaterial(entry));
    for (const YamlMap& entry : yaml.maps("objects"))
        scene.objects.push_back(readObject(entry, frame, materials));
    if (const auto motion = yaml.map("motion"))
        scene.turntable = readMotion(*motion, frame);
    checkMotion(yaml, scene);
    yaml.finish();
    return scene;
}

} // namespace Vorta::Virtual

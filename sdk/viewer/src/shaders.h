#pragma once

/// The viewer's shading programs (GLSL 3.30), put together from `version`, one #define for each trait that the program
/// has (POINTS, COLORED, LIT) and the text below: what a program does not need costs it nothing.
namespace Vorta::Shaders {

inline constexpr char version[] = "#version 330 core\n";

/// Points and corners of triangles alike: place, width, and the colour the point has or its depth stands for.
inline constexpr char vertex[] = R"(
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 bgra;
uniform mat4 eye;
uniform mat4 projection;
out vec3 color;

#ifdef POINTS
uniform float pointScale;
uniform float widestPoint;
#endif

#ifdef LIT
out vec3 eyePosition;
#endif

#ifndef COLORED
uniform vec2 depthRange;
uniform vec3 depthColors[5];

vec3 depthColor(float z)
{
    float t = 4.0 * clamp((z - depthRange.x) / (depthRange.y - depthRange.x), 0.0, 1.0);
    int i = min(int(t), 3);
    return mix(depthColors[i], depthColors[i + 1], t - float(i));
}
#endif

void main()
{
    vec4 inEye = eye * vec4(position, 1.0);
    gl_Position = projection * inEye;
#ifdef POINTS
    gl_PointSize = clamp(pointScale / inEye.z, 1.0, widestPoint);
#endif
#ifdef LIT
    eyePosition = inEye.xyz;
#endif
#ifdef COLORED
    color = bgra.bgr;
#else
    color = depthColor(position.z);
#endif
}
)";

/// Lit is a surface without colours of its own, by a lamp at the eye, so that its slope shows.
inline constexpr char fragment[] = R"(
in vec3 color;
out vec4 fragment;

#ifdef LIT
in vec3 eyePosition;
#endif

void main()
{
    float light = 1.0;
#ifdef LIT
    vec3 normal = normalize(cross(dFdx(eyePosition), dFdy(eyePosition)));
    light = 0.25 + 0.75 * abs(dot(normal, normalize(eyePosition)));
#endif
    fragment = vec4(light * color, 1.0);
}
)";

} // namespace Vorta::Shaders

// The inputs of a container, opened to be compared and copied.
#ifndef ZEL_COMPOSITE_SCENE_INPUTS_HPP
#define ZEL_COMPOSITE_SCENE_INPUTS_HPP

#include "composite/inputs.hpp"
#include "zel_types.h"

namespace zel {

class SceneInputs : public Inputs {
public:
    SceneInputs(const char* const* names, int count);
    ~SceneInputs();
    SceneInputs(const SceneInputs&) = delete;
    SceneInputs& operator=(const SceneInputs&) = delete;

    ZELType& record(int i) { return records_.get()[i]; }

    // False, after messages, when a directory cannot be read; the input's open has more to say.
    bool readDirectories();

    // Opens every input and reads its first line, which has the scene's start time. False after a
    // message.
    bool open();

    // Closes an input that is open.
    void finish(int i);

    // Whether sensor, date, satellite and start time agree; a message says what does not.
    bool showOneScene();

    // Whether the first input is too old to begin with a prefix as a container does.
    bool needPrefix();

private:
    Owned<ZELType> records_;
};

}  // namespace zel

#endif

// The audio service: makes and loads sounds. It has no device that would play them.
#include "host/services/audio_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"
#include "host/objects/sound_files.h"
#include "host/state/path_aliases.h"

#include "kz/absent.h"

#include <string_view>
#include <utility>

namespace kzhost {

namespace {

class CAudioService final : public CHosted<"audio service", CAudioService, CKzAbsentIfc_AudioAnimService>,
                            CServiceBase {
public:
    CAudioService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                  std::shared_ptr<CSoundFiles> sounds)
        : CServiceBase(std::move(context)), m_files(std::move(files)), m_sounds(std::move(sounds)) {}

    static constexpr std::string_view needsWindow[] = {"DeviceCount", "DeviceByIndex", "SceneAudio", "SetSceneAudio",
                                                       "Start",       "Stop",          "State"};
    static KzResult refuse(const char* place) noexcept {
        return kzBecause(KZe_NOTAVAILABLE, place, [] { return "this host plays no sound"; });
    }
    KzResult audioanimservice_Load(const char* path, IKzUnknown** audio) override {
        enter("AudioAnim.Load");
        kzNotNull(audio);
        *audio = kzMakeSound(m_sounds->load(m_files->place(path)));
        return KZe_OK;
    }
    KzResult audioanimservice_CreateAudio(IKzUnknown** audio) override {
        enter("AudioAnim.CreateAudio");
        kzNotNull(audio);
        *audio = kzMakeSilence();
        return KZe_OK;
    }

private:
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CSoundFiles> m_sounds;
};

}  // namespace

decltype(kzMakeAudioService) kzMakeAudioService = kzMakeService<CAudioService>;

}  // namespace kzhost

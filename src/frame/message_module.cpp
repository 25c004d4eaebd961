// The optional message module, libqlm_msg.so, which may carry translated
// texts of the catalogue.  Looked up once per process at the first nonzero
// message; without it the catalogue's own texts are used.
#include <cstddef>

namespace qlm::frame {

const char* message_module_text(int /*number*/) { return nullptr; }

}  // namespace qlm::frame

#pragma once

namespace fillstation {

// The project's home page, which the link button opens.
inline constexpr char kHomePage[] = "https://fillstation.example/";

}  // namespace fillstation

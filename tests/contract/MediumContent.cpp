#include <unistd.h>

#include <cstdio>

#include "BackEnd.h"
#include "FatImage.h"

namespace fillstation::contract {

namespace {

std::string readAll(const FatImage& image, const FatEntry& entry) {
  std::FILE* file = std::tmpfile();
  EXPECT_TRUE(image.copyContent(entry, ::fileno(file)));
  std::string bytes(entry.size, '\0');
  EXPECT_EQ(::pread(::fileno(file), bytes.data(), bytes.size(), 0),
            static_cast<ssize_t>(bytes.size()));
  std::fclose(file);
  return bytes;
}

void collect(const FatImage& image, std::uint32_t cluster, const std::string& prefix,
             std::vector<OnMedium>& all) {
  const auto directory = image.list(cluster);
  ASSERT_TRUE(directory);
  for (const auto& entry : directory->entries) {
    const std::string path = prefix + entry.name;
    if (entry.isDirectory) {
      all.push_back({path + "/", ""});
      collect(image, entry.firstCluster, path + "/", all);
    } else {
      all.push_back({path, readAll(image, entry)});
    }
  }
}

}  // namespace

std::vector<OnMedium> contentOfImage(int descriptor) {
  const auto fat = FatImage::open(descriptor);
  std::vector<OnMedium> all;
  EXPECT_TRUE(fat);
  if (fat) {
    collect(*fat, fat->layout().rootCluster, "", all);
  }
  return all;
}

}  // namespace fillstation::contract

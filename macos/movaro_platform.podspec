# The platform layer as a Flutter macOS plugin pod: the C++ core and the macOS
# adapters of ../src, compiled through the forwarders in Classes/core, and the
# Objective-C++ Flutter shell in Classes. See docs/macos.md.
simdjson_dir = File.expand_path('ThirdParty/simdjson', __dir__)
unless %w[simdjson.h simdjson.cpp].all? { |f| File.exist?(File.join(simdjson_dir, f)) }
  # Fetched at `pod install`, with its checksums verified; not committed.
  fetch = File.expand_path('ThirdParty/fetch_simdjson.sh', __dir__)
  system('sh', fetch) or raise "movaro_platform: #{fetch} failed; run it by hand."
end

Pod::Spec.new do |s|
  s.name             = 'movaro_platform'
  s.version          = '0.1.0'
  s.summary          = 'Native macOS platform layer of the Movaro VPN client.'
  s.description      = <<~DESC
    The "movaro_platform" and "com.quillfen.halvorn/mesh" method channels and
    the "movaro_platform/events" event channel: tunnel profiles, system
    extension activation, launch at login, Wi-Fi name, reminders, WireGuard
    keys and the mesh provider, over NetworkExtension, SystemExtensions,
    ServiceManagement, CoreWLAN, CoreLocation and UserNotifications.
  DESC
  s.homepage         = 'http://example.com'
  s.license          = { :type => 'Proprietary', :text => 'All rights reserved.' }
  s.authors          = 'Movaro Platform developers'
  s.source           = { :path => '.' }

  s.platform         = :osx, '11.0'
  s.source_files     = 'Classes/**/*.{h,mm,cc}', 'ThirdParty/simdjson/simdjson.{h,cpp}'
  s.public_header_files = 'Classes/MovaroPlatformPlugin.h', 'Classes/DesktopMeshPlugin.h'
  s.resource_bundles = { 'movaro_platform_privacy' => ['Resources/PrivacyInfo.xcprivacy'] }

  s.dependency 'FlutterMacOS'
  s.dependency 'OpenSSL-Universal', '>= 3.0'
  s.dependency 'icu4c-iosx', '>= 72'
  s.frameworks       = 'AppKit', 'CoreFoundation', 'CoreLocation', 'CoreWLAN',
                       'Foundation', 'NetworkExtension', 'ServiceManagement',
                       'SystemExtensions', 'UserNotifications'
  s.library          = 'c++'
  s.requires_arc     = true
  # The ICU pod ships static frameworks.
  s.static_framework = true

  s.pod_target_xcconfig = {
    'DEFINES_MODULE' => 'YES',
    'CLANG_CXX_LANGUAGE_STANDARD' => 'c++20',
    'CLANG_CXX_LIBRARY' => 'libc++',
    'CLANG_ENABLE_OBJC_ARC' => 'YES',
    # The adapters find their own objects behind the seam with dynamic_cast.
    'GCC_ENABLE_CPP_RTTI' => 'YES',
    # ICU's headers as the icu4c-iosx pod ships them (<unicode/...>),
    # whether or not the app uses frameworks.
    'HEADER_SEARCH_PATHS' => '"${PODS_TARGET_SRCROOT}/../src" ' \
                             '"${PODS_TARGET_SRCROOT}/ThirdParty/simdjson" ' \
                             '"${PODS_ROOT}/icu4c-iosx/product/include"',
  }
end

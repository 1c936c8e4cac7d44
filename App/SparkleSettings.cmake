# velloran_check_sparkle_settings(FEED_URL KEY): stops configuration when Sparkle is on and the update feed
# or the EdDSA public key is still a placeholder. Sparkle started against a placeholder key shows "Unable to
# Check For Updates" on every launch, so such a build must never be made.
function(velloran_check_sparkle_settings feed_url public_key)
    if(NOT feed_url MATCHES "^https://" OR feed_url MATCHES "\\.invalid(/|$)")
        message(FATAL_ERROR "VELLORAN_SPARKLE is ON but VELLORAN_SPARKLE_FEED_URL is \"${feed_url}\": set it to "
            "the https:// address of the appcast (-DVELLORAN_SPARKLE_FEED_URL=https://...), or configure "
            "with -DVELLORAN_SPARKLE=OFF.")
    endif()
    # Sparkle's generate_keys prints the public key as 44 characters of base64 (32 bytes).
    if(NOT public_key MATCHES "^[A-Za-z0-9+/]+=*$" OR public_key MATCHES "^REPLACE")
        message(FATAL_ERROR "VELLORAN_SPARKLE is ON but VELLORAN_SPARKLE_PUBLIC_KEY is \"${public_key}\": set it "
            "to the EdDSA public key that Sparkle's generate_keys prints (-DVELLORAN_SPARKLE_PUBLIC_KEY=...), or "
            "configure with -DVELLORAN_SPARKLE=OFF.")
    endif()
endfunction()

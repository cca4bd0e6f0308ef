import Tessarin

// The address that goes into the pairing link. No address stands for the suggested one.
StoredEntry {
    id: root

    required property RemoteSettingsModel remote

    name: "Mac address or Tailscale IP"
    placeholderText: name
    stored: remote.address
    onEntered: text => remote.setAddress(text)
}
